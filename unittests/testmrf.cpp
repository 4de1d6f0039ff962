#include "testmrf.h"

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "quoraccelerate/filter.h"
#include "suites.h"
#include "testsupport.h"

namespace quoraccelerate {
namespace test {

namespace {

// The reference multi-rate filter: taps split into upFactor polyphase branches (branch p holds
// taps p, p + upFactor, ...), a branch index and an input position started from
// downPhase - upPhase, and a zero history of (tapsLen + 1 + upFactor) / upFactor inputs. Each
// output is the dot product of the current branch with the inputs ending at the current position;
// then the phase moves on by downFactor, the position by one for every upFactor it wraps.
class PlainMRF {
public:
    // Null for arguments the filter cannot be built from.
    template <typename T>
    static std::unique_ptr<PlainMRF> Init(unsigned int upFactor, unsigned int downFactor, const T* taps,
                                          unsigned int tapsLen, unsigned int upPhase, unsigned int downPhase) {
        if (taps == nullptr || tapsLen == 0 || upFactor == 0 || downFactor == 0 || upPhase >= upFactor ||
            downPhase >= downFactor) {
            return nullptr;
        }
        std::unique_ptr<PlainMRF> filter(new PlainMRF);
        filter->up_ = upFactor;
        filter->down_ = downFactor;
        filter->branches_.resize(upFactor);
        for (unsigned int k = 0; k < tapsLen; ++k) filter->branches_[k % upFactor].push_back(taps[k]);
        const long history = (tapsLen + 1 + upFactor) / upFactor;
        filter->inputs_.assign(static_cast<std::size_t>(history), 0.0);
        long phase = static_cast<long>(downPhase) - static_cast<long>(upPhase);
        long pos = 0;
        while (phase < 0) {
            phase += upFactor;
            --pos;
        }
        while (phase >= static_cast<long>(upFactor)) {
            phase -= upFactor;
            ++pos;
        }
        filter->phase_ = static_cast<unsigned int>(phase);
        filter->newest_ = history + pos;  // index in inputs_ of the input at `pos`
        return filter;
    }

    template <typename T>
    void Process(const T* src, T* dst, unsigned int numIters) {
        inputs_.insert(inputs_.end(), src, src + static_cast<std::size_t>(numIters) * down_);
        for (std::size_t j = 0; j < static_cast<std::size_t>(numIters) * up_; ++j) {
            const std::vector<double>& branch = branches_[phase_];
            double acc = 0;
            for (std::size_t m = 0; m < branch.size(); ++m) acc += branch[m] * inputs_[newest_ - m];
            dst[j] = static_cast<T>(acc);
            phase_ += down_;
            while (phase_ >= up_) {
                phase_ -= up_;
                ++newest_;
            }
        }
    }

private:
    unsigned int up_ = 0;
    unsigned int down_ = 0;
    std::vector<std::vector<double>> branches_;
    std::vector<double> inputs_;  // the zero history, then every input so far
    unsigned int phase_ = 0;
    long newest_ = 0;
};

template <typename T>
struct MRFStateOf;
template <>
struct MRFStateOf<float> {
    using type = MRFState_Float;
};
template <>
struct MRFStateOf<double> {
    using type = MRFState_Double;
};

struct MRFCase {
    unsigned int up, down, upPhase, downPhase, tapsLen, numIters;
    bool history;  // a delay line of ceil(tapsLen / up) zeros that carries over; else an empty one
};
const MRFCase kCases[] = {
    {1, 1, 0, 0, 31, 200, true}, {3, 2, 1, 0, 37, 100, true}, {2, 5, 0, 3, 24, 60, true},
    {4, 3, 3, 2, 50, 80, true},  {1, 4, 0, 2, 21, 100, true}, {5, 1, 2, 0, 33, 50, true},
    {3, 3, 2, 1, 19, 60, false}, {2, 3, 1, 2, 16, 64, false},
};

// Sums of up to 31 products of taps in [-0.5, 0.5) and inputs in [-1, 1), in another order.
template <typename T>
constexpr unsigned int kTolerance = std::is_same_v<T, float> ? 8 : 16;

// Returns the failure message, empty on success.
template <typename T>
std::string CheckMRF(const quorunittesting::TestContext& context, const MRFCase& c) {
    const std::string name = "MRF<" + TypeName<T>() + ">";
    const std::string detail = std::to_string(c.up) + "/" + std::to_string(c.down) + ", phases " +
                               std::to_string(c.upPhase) + "/" + std::to_string(c.downPhase) + ", " +
                               std::to_string(c.tapsLen) + " taps";
    RandomValues<T> random(T(-1), T(1), 1000 + c.tapsLen);
    std::vector<T> taps(c.tapsLen), x(static_cast<std::size_t>(c.numIters) * c.down);
    random.Fill(x);
    for (T& tap : taps) tap = random() / 2;
    const std::size_t outputs = static_cast<std::size_t>(c.numIters) * c.up;
    std::vector<T> expected(outputs), actual(outputs);

    std::unique_ptr<PlainMRF> reference = PlainMRF::Init(c.up, c.down, taps.data(), c.tapsLen, c.upPhase, c.downPhase);
    if (!reference) return "cpp::MRFInit did not return state!!!!";
    using Line = std::vector<T, quorcore::utility::STLAllocator<T>>;
    const Line delayLine(c.history ? (c.tapsLen + c.up - 1) / c.up : 0, T(0));
    typename MRFStateOf<T>::type* state = nullptr;
    filter::MRFInit(&state, c.up, c.down, taps.data(), c.tapsLen, delayLine, c.upPhase, c.downPhase);
    if (state == nullptr) return "qp::MRFInit did not return state!!!!";

    // With a history, two calls (the second must continue the first); without, one.
    const unsigned int firstIters = c.history ? c.numIters / 3 : c.numIters;
    Timed(context, "CPP::" + name, detail, [&] {
        reference->Process(x.data(), expected.data(), firstIters);
        reference->Process(x.data() + firstIters * c.down, expected.data() + firstIters * c.up,
                           c.numIters - firstIters);
    });
    Timed(context, "QP::" + name, detail, [&] {
        filter::MRFProcess(x.data(), actual.data(), firstIters, state);
        if (firstIters != c.numIters) {
            filter::MRFProcess(x.data() + firstIters * c.down, actual.data() + firstIters * c.up,
                               c.numIters - firstIters, state);
        }
    });
    filter::MRFFree(state);

    BreakResult(actual.data(), outputs);
    const std::string mismatch =
        CompareArrays("QP::" + name + "[" + detail + "]", expected.data(), actual.data(), outputs, x.data(),
                      kTolerance<T>);
    return mismatch.empty() ? mismatch : "MRF[" + TypeName<T>() + "] failed: " + mismatch;
}

QP_TEST_CASE(T_TestMRF, TestMRF, "TestMRF", Test_MRF)

}  // namespace

void TestMRF::Test_MRF(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestMRF::Test_MRF";
    for (const MRFCase& c : kCases) {
        for (const std::string& message : {CheckMRF<float>(context, c), CheckMRF<double>(context, c)}) {
            if (!message.empty()) QP_TEST_FAIL(message.c_str());
        }
    }
}

quorunittesting::Test* FilterMRFSuite() {
    auto* suite = new quorunittesting::TestSuite("filter");
    suite->AddTest(new T_TestMRF);
    return suite;
}

}  // namespace test
}  // namespace quoraccelerate

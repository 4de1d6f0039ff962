#include "testvectorutils.h"

#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "quoraccelerate/utility.h"
#include "suites.h"
#include "testsupport.h"

namespace quoraccelerate {
namespace test {

namespace {

template <typename T>
struct Tag {
    using type = T;
};

// Runs check(Tag<T>{}) for each type in turn until one returns a failure message.
template <typename... Ts, typename F>
std::string ForTypes(F&& check) {
    std::string message;
    ((message.empty() ? void(message = check(Tag<Ts>{})) : void()), ...);
    return message;
}

// Lengths that end inside and on the vector widths (4 to 64 lanes) and a few long ones.
const std::vector<std::size_t> kLengths = {1, 3, 4, 5, 15, 16, 17, 31, 33, 63, 64, 65, 100, 1000, 4097};

// Every length up to 70, then long ones; for float and double the last is long enough (over
// 4 MiB) for the streaming stores, which work on bytes whatever the element type.
constexpr std::size_t kLongest = 65537;
template <typename T>
std::vector<std::size_t> AllSizes() {
    std::vector<std::size_t> sizes;
    for (std::size_t n = 0; n <= 70; ++n) sizes.push_back(n);
    for (std::size_t n : {std::size_t{127}, std::size_t{128}, std::size_t{129}, std::size_t{1023}, std::size_t{4099},
                          kLongest}) {
        sizes.push_back(n);
    }
    if (std::is_floating_point_v<T>) sizes.push_back((std::size_t{4} << 20) / sizeof(T) + 3);
    return sizes;
}

// Only long lengths are timed: the lists of short ones would swamp the trace.
constexpr std::size_t kTracedLength = 1000;

template <typename T>
std::string Name(const char* prefix, const char* operation) {
    return std::string(prefix) + operation + "<" + TypeName<T>() + ">";
}

template <typename T>
std::string Show(T value) {
    if constexpr (std::is_floating_point_v<T>) {
        return Fixed(value);
    } else {
        return std::to_string(+value);
    }
}

// Random elements: floating point from the shared generator on [-1000, 1000), integers (and the
// floating-point elements of the longest lengths, where the shared generator would dominate the
// test's time) from splitmix64.
template <typename T>
std::vector<T> RandomArray(std::size_t n, std::uint32_t seed) {
    std::vector<T> values(n);
    if constexpr (std::is_floating_point_v<T>) {
        if (n <= kLongest) {
            RandomValues<T> random(T(-1000), T(1000), seed);
            random.Fill(values);
            return values;
        }
    }
    std::uint64_t state = seed;
    for (T& v : values) {
        std::uint64_t z = (state += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        z ^= z >> 31;
        if constexpr (std::is_floating_point_v<T>) {
            v = static_cast<T>(static_cast<double>(z >> 11) * 0x1p-53 * 2000.0 - 1000.0);
        } else {
            v = static_cast<T>(z);
        }
    }
    return values;
}

// What surrounds every destination: no operation here writes it.
template <typename T>
T Guard() {
    if constexpr (std::is_floating_point_v<T>) {
        return T(-7777.25);
    } else {
        return static_cast<T>(0x5A5A5A5A5A5A5A5Aull);
    }
}

// The destination starts at an odd element offset (not vector-aligned) and is followed by more
// than one widest vector of guards.
constexpr std::size_t kLead = 5;
template <typename T>
constexpr std::size_t kTrail = 64 / sizeof(T) + 3;

// Fills two guarded buffers with `initial` at the same offset, runs the library's operation on one
// and the plain one on the other (each given the region's length and start), and requires the
// whole buffers, guards included, to hold the same bits. `input` (may be null) is the source shown
// in the message. Returns the failure message, empty on success.
template <typename T, typename Library, typename Reference>
std::string RunGuarded(const quorunittesting::TestContext& context, const char* operation,
                       const std::vector<T>& initial, const T* input, Library library, Reference reference) {
    const std::size_t n = initial.size();
    std::vector<T> expected(kLead + n + kTrail<T>, Guard<T>());
    for (std::size_t i = 0; i < n; ++i) expected[kLead + i] = initial[i];
    std::vector<T> actual(expected);
    const std::string name = Name<T>("QP::", operation);
    if (n >= kTracedLength) {
        Timed(context, Name<T>("CPP::", operation), std::to_string(n), [&] { reference(n, expected.data() + kLead); });
        Timed(context, name, std::to_string(n), [&] { library(n, actual.data() + kLead); });
    } else {
        reference(n, expected.data() + kLead);
        library(n, actual.data() + kLead);
    }
    BreakResult(actual.data(), actual.size());
    for (std::size_t i = 0; i < actual.size(); ++i) {
        if (std::memcmp(&expected[i], &actual[i], sizeof(T)) == 0) continue;
        std::ostringstream out;
        if (i < kLead || i >= kLead + n) {
            out << name << " of " << n << " elements wrote outside them, at offset "
                << static_cast<long long>(i) - static_cast<long long>(kLead) << ". Expected: " << Show(expected[i])
                << ", actual: " << Show(actual[i]);
        } else {
            out << name << " at input index " << i - kLead << ". Expected: " << Show(expected[i])
                << ", actual: " << Show(actual[i]) << ". Input = " << (input != nullptr ? Show(input[i - kLead]) : "");
        }
        return out.str();
    }
    return {};
}

template <typename T>
void PlainCopy(std::size_t n, const T* src, T* dst) {
    for (std::size_t i = 0; i < n; ++i) dst[i] = src[i];
}

// Copies through a temporary, so overlapping ranges behave as memmove.
template <typename T>
void PlainMove(std::size_t n, const T* src, T* dst) {
    const std::vector<T> temporary(src, src + n);
    PlainCopy(n, temporary.data(), dst);
}

template <typename T>
void PlainSet(std::size_t n, T* dst, T value) {
    for (std::size_t i = 0; i < n; ++i) dst[i] = value;
}

template <typename T>
T PlainSwap(T value) {
    T swapped = 0;
    for (std::size_t b = 0; b < sizeof(T); ++b) swapped = static_cast<T>((swapped << 8) | ((value >> (8 * b)) & 0xFF));
    return swapped;
}

unsigned int U(std::size_t n) { return static_cast<unsigned int>(n); }

// Copy from a source at element offset `offset` (unaligned for 1 .. 3).
template <typename T>
std::string CheckCopy(const quorunittesting::TestContext& context, std::size_t n, std::size_t offset) {
    const std::vector<T> source = RandomArray<T>(n + offset, static_cast<std::uint32_t>(n));
    const T* src = source.data() + offset;
    return RunGuarded<T>(
        context, "Copy", RandomArray<T>(n, 7), src, [&](std::size_t len, T* dst) { utility::Copy(U(len), src, dst); },
        [&](std::size_t len, T* dst) { PlainCopy(len, src, dst); });
}

// Move within one region of n + shift elements: the n elements at the start go `shift` up
// (forward) or the n elements at `shift` come down.
template <typename T>
std::string CheckMove(const quorunittesting::TestContext& context, std::size_t n, std::size_t shift, bool up) {
    const std::vector<T> region = RandomArray<T>(n + shift, static_cast<std::uint32_t>(n + shift));
    const std::size_t from = up ? 0 : shift, to = up ? shift : 0;
    return RunGuarded<T>(
        context, "Move", region, region.data(),
        [&](std::size_t, T* base) { utility::Move(U(n), base + from, base + to); },
        [&](std::size_t, T* base) { PlainMove(n, base + from, base + to); });
}

template <typename T>
std::string CheckSet(const quorunittesting::TestContext& context, std::size_t n, T value) {
    return RunGuarded<T>(
        context, "Set", RandomArray<T>(n, static_cast<std::uint32_t>(n)), nullptr,
        [&](std::size_t len, T* dst) { utility::Set(U(len), dst, value); },
        [&](std::size_t len, T* dst) { PlainSet(len, dst, value); });
}

template <typename T>
std::string CheckZero(const quorunittesting::TestContext& context, std::size_t n) {
    return RunGuarded<T>(
        context, "Zero", RandomArray<T>(n, static_cast<std::uint32_t>(n)), nullptr,
        [&](std::size_t len, T* dst) { utility::Zero(U(len), dst); },
        [&](std::size_t len, T* dst) { PlainSet(len, dst, T(0)); });
}

// Values Set must write as given: random ones, and for floating point also -0.0 (its sign bit).
template <typename T>
std::vector<T> SetValues() {
    std::vector<T> values = RandomArray<T>(2, 99);
    if constexpr (std::is_floating_point_v<T>) values.push_back(T(-0.0));
    return values;
}

// The library's Equal against a plain byte loop; the message names the case.
std::string CheckEqual(const quorunittesting::TestContext& context, const std::vector<unsigned char>& a,
                       const std::vector<unsigned char>& b, std::size_t n, const std::string& what) {
    bool expected = true, actual = false;
    auto plain = [&] {
        for (std::size_t i = 0; i < n; ++i) expected = expected && a[i] == b[i];
    };
    auto library = [&] { actual = utility::Equal(U(n), a.data(), b.data()); };
    if (n >= kTracedLength) {
        Timed(context, "CPP::Equal", std::to_string(n), plain);
        Timed(context, "QP::Equal", std::to_string(n), library);
    } else {
        plain();
        library();
    }
    actual = BreakResult(actual);
    if (actual == expected) return {};
    std::ostringstream out;
    out << "QP::Equal of " << n << " bytes (" << what << "). Expected: " << std::boolalpha << expected
        << ", actual: " << actual;
    return out.str();
}

#define QP_CHECK(expression)                                  \
    do {                                                      \
        const std::string message_ = (expression);           \
        if (!message_.empty()) QP_TEST_FAIL(message_.c_str()); \
    } while (0)

}  // namespace

// No function of the library rounds a length, but its kernels work in groups of 4 lanes (and in
// vectors of 4 to 64 lanes) with a scalar remainder: a length n must touch exactly n elements,
// never n rounded up to the next multiple of 4. For each n up to 70 the test sets RoundUp4(n)
// elements and then copies or zeroes n of them: the first n must be the copy (or zeros), the
// elements n .. RoundUp4(n) - 1 must keep the set value and nothing after them may change.
void TestVectorUtils::Test_RoundUpToMultipleOf4(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestVectorUtils::Test_RoundUpToMultipleOf4";
    QP_CHECK((ForTypes<unsigned char, short, float, double>([&](auto tag) {
        using T = typename decltype(tag)::type;
        const T value = RandomArray<T>(1, 4)[0];
        for (std::size_t n = 0; n <= 70; ++n) {
            const std::size_t rounded = (n + 3) & ~std::size_t{3};
            const std::vector<T> source = RandomArray<T>(n, static_cast<std::uint32_t>(n));
            const std::vector<T> initial = RandomArray<T>(rounded, 5);
            for (bool zero : {false, true}) {
                const std::string message = RunGuarded<T>(
                    context, zero ? "Set+Zero" : "Set+Copy", initial, nullptr,
                    [&](std::size_t, T* dst) {
                        utility::Set(U(rounded), dst, value);
                        if (zero) {
                            utility::Zero(U(n), dst);
                        } else {
                            utility::Copy(U(n), source.data(), dst);
                        }
                    },
                    [&](std::size_t, T* dst) {
                        PlainSet(rounded, dst, value);
                        if (zero) {
                            PlainSet(n, dst, T(0));
                        } else {
                            PlainCopy(n, source.data(), dst);
                        }
                    });
                if (!message.empty()) return message;
            }
        }
        return std::string();
    })));
}

// Every element type, sources at every alignment, and dst == src (harmless).
void TestVectorUtils::Test_Copy(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestVectorUtils::Test_Copy";
    QP_CHECK((ForTypes<signed char, unsigned char, short, int, unsigned int, float, double>([&](auto tag) {
        using T = typename decltype(tag)::type;
        for (std::size_t n : kLengths) {
            for (std::size_t offset = 0; offset < 4; ++offset) {
                const std::string message = CheckCopy<T>(context, n, offset);
                if (!message.empty()) return message;
            }
            const std::vector<T> data = RandomArray<T>(n, 11);
            const std::string message = RunGuarded<T>(
                context, "Copy[dst == src]", data, data.data(),
                [](std::size_t len, T* d) { utility::Copy(U(len), d, d); }, [](std::size_t, T*) {});
            if (!message.empty()) return message;
        }
        return std::string();
    })));
}

// Overlapping ranges in both directions (memmove), and the unsigned int form, which does nothing.
void TestVectorUtils::Test_Move(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestVectorUtils::Test_Move";
    QP_CHECK((ForTypes<unsigned char, short, float, double>([&](auto tag) {
        using T = typename decltype(tag)::type;
        for (std::size_t n : kLengths) {
            for (std::size_t shift : {std::size_t{1}, std::size_t{3}, std::size_t{16}, n / 2 + 1}) {
                for (bool up : {true, false}) {
                    const std::string message = CheckMove<T>(context, n, shift, up);
                    if (!message.empty()) return message;
                }
            }
        }
        return std::string();
    })));
    for (std::size_t n : kLengths) {
        const std::vector<unsigned int> source = RandomArray<unsigned int>(n, 3);
        QP_CHECK(RunGuarded<unsigned int>(
            context, "Move", RandomArray<unsigned int>(n, 4), source.data(),
            [&](std::size_t len, unsigned int* dst) { utility::Move(U(len), source.data(), dst); },
            [](std::size_t, unsigned int*) {}));
    }
}

void TestVectorUtils::Test_Set(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestVectorUtils::Test_Set";
    QP_CHECK((ForTypes<unsigned char, short, int, unsigned int, float, double>([&](auto tag) {
        using T = typename decltype(tag)::type;
        for (std::size_t n : kLengths) {
            for (T value : SetValues<T>()) {
                const std::string message = CheckSet<T>(context, n, value);
                if (!message.empty()) return message;
            }
        }
        return std::string();
    })));
}

// Zero writes +0.0 (checked bit for bit); the 32-bit forms count len * 4 bytes.
void TestVectorUtils::Test_Zero(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestVectorUtils::Test_Zero";
    QP_CHECK((ForTypes<unsigned char, short, int, unsigned int, float, double>([&](auto tag) {
        using T = typename decltype(tag)::type;
        for (std::size_t n : AllSizes<T>()) {
            const std::string message = CheckZero<T>(context, n);
            if (!message.empty()) return message;
        }
        return std::string();
    })));
}

// Equal ranges, a difference at the first, a middle and the last byte, and a difference just past
// the length (not seen).
void TestVectorUtils::Test_Equal(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestVectorUtils::Test_Equal";
    for (std::size_t n : kLengths) {
        const std::vector<unsigned char> a = RandomArray<unsigned char>(n + 1, static_cast<std::uint32_t>(n));
        std::vector<unsigned char> b(a);
        QP_CHECK(CheckEqual(context, a, b, n, "same bytes"));
        for (std::size_t at : {std::size_t{0}, n / 2, n - 1, n}) {
            b = a;
            b[at] ^= 0x80;
            QP_CHECK(CheckEqual(context, a, b, n, "byte " + std::to_string(at) + " differs"));
        }
    }
}

// Out of place and in place, 16, 32 and 64 bits, against a byte-by-byte reversal.
void TestVectorUtils::Test_SwapBytes(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestVectorUtils::Test_SwapBytes";
    std::vector<std::size_t> lengths = kLengths;
    lengths.push_back(0);
    QP_CHECK((ForTypes<unsigned short, unsigned int, unsigned long long>([&](auto tag) {
        using T = typename decltype(tag)::type;
        for (std::size_t n : lengths) {
            const std::vector<T> source = RandomArray<T>(n, static_cast<std::uint32_t>(n));
            auto plain = [&](std::size_t len, T* dst) {
                for (std::size_t i = 0; i < len; ++i) dst[i] = PlainSwap(source[i]);
            };
            std::string message = RunGuarded<T>(
                context, "SwapBytes", RandomArray<T>(n, 1), source.data(),
                [&](std::size_t len, T* dst) { utility::SwapBytes(U(len), source.data(), dst); }, plain);
            if (message.empty()) {
                message = RunGuarded<T>(
                    context, "SwapBytes_InPlace", source, source.data(),
                    [&](std::size_t len, T* data) { utility::SwapBytes(U(len), data); }, plain);
            }
            if (!message.empty()) return message;
        }
        return std::string();
    })));
}

void TestVectorUtils::Test_CopyWithDifferentArraySize(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestVectorUtils::Test_CopyWithDifferentArraySize";
    QP_CHECK((ForTypes<signed char, unsigned char, short, int, unsigned int, float, double>([&](auto tag) {
        using T = typename decltype(tag)::type;
        for (std::size_t n : AllSizes<T>()) {
            const std::string message = CheckCopy<T>(context, n, 1);
            if (!message.empty()) return message;
        }
        return std::string();
    })));
}

// Apart (the ranges do not overlap), and overlapping by all but one element in both directions.
void TestVectorUtils::Test_MoveWithDifferentArraySize(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestVectorUtils::Test_MoveWithDifferentArraySize";
    QP_CHECK((ForTypes<unsigned char, short, float, double>([&](auto tag) {
        using T = typename decltype(tag)::type;
        for (std::size_t n : AllSizes<T>()) {
            // Overlapping moves never stream, and streaming works on bytes: the longest length is
            // moved apart only, and for float only.
            if (n > kLongest && !std::is_same_v<T, float>) continue;
            for (std::size_t shift : {n, n > kLongest ? n : 1}) {
                for (bool up : {true, false}) {
                    const std::string message = CheckMove<T>(context, n, shift, up);
                    if (!message.empty()) return message;
                }
            }
        }
        return std::string();
    })));
}

void TestVectorUtils::Test_SetWithDifferentArraySize(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestVectorUtils::Test_SetWithDifferentArraySize";
    QP_CHECK((ForTypes<unsigned char, short, int, unsigned int, float, double>([&](auto tag) {
        using T = typename decltype(tag)::type;
        const T value = RandomArray<T>(1, 8)[0];
        for (std::size_t n : AllSizes<T>()) {
            const std::string message = CheckSet<T>(context, n, value);
            if (!message.empty()) return message;
        }
        return std::string();
    })));
}

// A range compared with itself and with a copy of itself, at every length (0 included).
void TestVectorUtils::Test_EqualSameArrayReturnTrue(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestVectorUtils::Test_EqualSameArrayReturnTrue";
    for (std::size_t n : AllSizes<unsigned char>()) {
        // One spare byte: an empty vector's data() would be null, which Equal refuses.
        const std::vector<unsigned char> a = RandomArray<unsigned char>(n + 1, static_cast<std::uint32_t>(n));
        const std::vector<unsigned char> copy(a);
        bool same = false, copied = false;
        Timed(context, "QP::Equal", std::to_string(n), [&] {
            same = utility::Equal(U(n), a.data(), a.data());
            copied = utility::Equal(U(n), a.data(), copy.data());
        });
        if (!BreakResult(same) || !BreakResult(copied)) {
            const std::string message = "QP::Equal of " + std::to_string(n) + " bytes with " +
                                        (same ? "a copy of itself" : "itself") + ". Expected: true, actual: false";
            QP_TEST_FAIL(message.c_str());
        }
    }
}

// One byte changed, at every position of the short lengths and at the ends and the middle of the
// long ones; the change flips the sign bit or the lowest bit.
void TestVectorUtils::Test_EqualDifferentArrayReturnFalse(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestVectorUtils::Test_EqualDifferentArrayReturnFalse";
    for (std::size_t n : AllSizes<unsigned char>()) {
        if (n == 0) continue;
        const std::vector<unsigned char> a = RandomArray<unsigned char>(n, static_cast<std::uint32_t>(n));
        std::vector<std::size_t> positions;
        if (n <= 70) {
            for (std::size_t i = 0; i < n; ++i) positions.push_back(i);
        } else {
            positions = {0, 1, n / 2, n - 2, n - 1};
        }
        for (std::size_t at : positions) {
            for (unsigned char flip : {0x80, 0x01}) {
                std::vector<unsigned char> b(a);
                b[at] = static_cast<unsigned char>(b[at] ^ flip);
                QP_CHECK(CheckEqual(context, a, b, n, "byte " + std::to_string(at) + " differs"));
            }
        }
    }
}

namespace {

QP_TEST_CASE(T_RoundUpToMultipleOf4Test, TestVectorUtils, "RoundUpToMultipleOf4Test", Test_RoundUpToMultipleOf4)
QP_TEST_CASE(T_CopyTest, TestVectorUtils, "CopyTest", Test_Copy)
QP_TEST_CASE(T_MoveTest, TestVectorUtils, "MoveTest", Test_Move)
QP_TEST_CASE(T_SetTest, TestVectorUtils, "SetTest", Test_Set)
QP_TEST_CASE(T_ZeroTest, TestVectorUtils, "ZeroTest", Test_Zero)
QP_TEST_CASE(T_EqualTest, TestVectorUtils, "EqualTest", Test_Equal)
QP_TEST_CASE(T_SwapBytesTest, TestVectorUtils, "SwapBytesTest", Test_SwapBytes)
QP_TEST_CASE(T_TestCopyWithDifferentArraySize, TestVectorUtils, "TestCopyWithDifferentArraySize",
             Test_CopyWithDifferentArraySize)
QP_TEST_CASE(T_TestMoveWithDifferentArraySize, TestVectorUtils, "TestMoveWithDifferentArraySize",
             Test_MoveWithDifferentArraySize)
QP_TEST_CASE(T_TestSetWithDifferentArraySize, TestVectorUtils, "TestSetWithDifferentArraySize",
             Test_SetWithDifferentArraySize)
QP_TEST_CASE(T_EqualTestSameArrayReturnTrue, TestVectorUtils, "EqualTestSameArrayReturnTrue",
             Test_EqualSameArrayReturnTrue)
QP_TEST_CASE(T_EqualTestDifferentArrayReturnFalse, TestVectorUtils, "EqualTestDifferentArrayReturnFalse",
             Test_EqualDifferentArrayReturnFalse)

}  // namespace

quorunittesting::Test* VectorUtilsSuite() {
    auto* suite = new quorunittesting::TestSuite("VectorUtils");
    suite->AddTest(new T_RoundUpToMultipleOf4Test);
    suite->AddTest(new T_CopyTest);
    suite->AddTest(new T_MoveTest);
    suite->AddTest(new T_SetTest);
    suite->AddTest(new T_ZeroTest);
    suite->AddTest(new T_EqualTest);
    suite->AddTest(new T_SwapBytesTest);
    suite->AddTest(new T_TestCopyWithDifferentArraySize);
    suite->AddTest(new T_TestMoveWithDifferentArraySize);
    suite->AddTest(new T_TestSetWithDifferentArraySize);
    suite->AddTest(new T_EqualTestSameArrayReturnTrue);
    suite->AddTest(new T_EqualTestDifferentArrayReturnFalse);
    return suite;
}

}  // namespace test
}  // namespace quoraccelerate

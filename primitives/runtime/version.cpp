#include "runtime.h"

namespace qp {

namespace {
constexpr LibraryVersion kVersion = {
    2018, 0, 1, 56998, {'c', 'o', 'r', 'e'}, "qpCore", "2018.0.1 (r56998)", "Oct 10 2017",
};
}  // namespace

const LibraryVersion* GetLibraryVersion() { return &kVersion; }

}  // namespace qp

// Dispatch of a primitive to the build of the code path in force.
//
// Each primitive has a table of eight entries indexed by the code path -1..6. Entry -1 initialises
// the library and dispatches again; entries 0..6 are the seven builds of the kernel. The primitive's
// entry loads the code-path index and jumps through the table: one load and one indirect jump, no
// test of the index (before initialisation the index is -1, which selects the initialising entry).
#pragma once

#include <cstdint>

#include "runtime.h"
#include "status.h"

namespace qp {

template <typename Fn>
struct Dispatch;

template <typename R, typename... A>
struct Dispatch<R(A...)> {
    using Entry = R (*)(A...);
    using Table = Entry[8];

    template <const Table& T>
    static R Enter(A... args) {
        return T[g_codePath + 1](args...);
    }

    template <const Table& T>
    static R Initialise(A... args) {
        InitLibrary();
        return T[g_codePath + 1](args...);
    }
};

#define QP_PRIMITIVE(name, ...) using name##_fn = __VA_ARGS__;
#include "primitives.def"
#undef QP_PRIMITIVE

#define QP_PRIMITIVE(name, ...)                                \
    extern const Dispatch<name##_fn>::Table name##_table;      \
    inline constexpr auto name = &Dispatch<name##_fn>::Enter<name##_table>;
#include "primitives.def"
#undef QP_PRIMITIVE

}  // namespace qp

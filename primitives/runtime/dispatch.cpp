// The dispatch tables of all primitives.
#include "dispatch.h"

#include "kernels.h"

namespace qp {

#define QP_PRIMITIVE(name, ...)                                                                     \
    const Dispatch<name##_fn>::Table name##_table = {                                               \
        &Dispatch<name##_fn>::Initialise<name##_table>, &path0::name, &path1::name, &path2::name, \
        &path3::name, &path4::name, &path5::name, &path6::name};
#include "primitives.def"
#undef QP_PRIMITIVE

}  // namespace qp

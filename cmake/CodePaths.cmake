# The seven code paths. Every kernel source is compiled once per path with exactly the instruction
# sets that the path's selection guarantees, into the namespace qp::path<N>.
#
#   0  SSE2                         (x86-64 baseline)
#   1  SSE3, SSSE3                  (chosen for SSSE3 alone; SSE4.1 or MOVBE also select it)
#   2  SSE4.2
#   3  AVX
#   4  AVX2, FMA, BMI1, BMI2
#   5  AVX-512 F, CD, ER, PF
#   6  AVX-512 F, CD, BW, DQ, VL
#   w  test-only: the 512-bit source built for AVX2, so this 16-lane logic runs on any AVX2 machine
#   6n the FFT alone with path 6's instruction sets at 32-byte vectors (see qp_add_code_path_variant)
#   4q, 6q the FFT alone with path 4's and path 6's instruction sets at 16-byte vectors
set(QP_PATH_FLAGS_0 -march=x86-64 -mtune=generic)
set(QP_PATH_FLAGS_1 ${QP_PATH_FLAGS_0} -mssse3)
set(QP_PATH_FLAGS_2 ${QP_PATH_FLAGS_0} -msse4.2)
set(QP_PATH_FLAGS_3 ${QP_PATH_FLAGS_0} -mavx)
set(QP_PATH_FLAGS_4 ${QP_PATH_FLAGS_0} -mavx2 -mfma -mbmi -mbmi2)
set(QP_PATH_FLAGS_5 ${QP_PATH_FLAGS_4} -mavx512f -mavx512cd -mavx512er -mavx512pf)
set(QP_PATH_FLAGS_6 ${QP_PATH_FLAGS_4} -mavx512f -mavx512cd -mavx512bw -mavx512dq -mavx512vl)
set(QP_PATH_FLAGS_w ${QP_PATH_FLAGS_4})

set(QP_PATH_VEC_BYTES_0 16)
set(QP_PATH_VEC_BYTES_1 16)
set(QP_PATH_VEC_BYTES_2 16)
set(QP_PATH_VEC_BYTES_3 32)
set(QP_PATH_VEC_BYTES_4 32)
set(QP_PATH_VEC_BYTES_5 64)
set(QP_PATH_VEC_BYTES_6 64)
set(QP_PATH_VEC_BYTES_w 64)

# qp_add_code_paths(<prefix> SOURCES ...) creates the object libraries <prefix>0 .. <prefix>6 and
# <prefix>w from the same sources.
function(qp_add_code_paths prefix)
  cmake_parse_arguments(ARG "" "" "SOURCES;INCLUDES" ${ARGN})
  foreach(path 0 1 2 3 4 5 6 w)
    set(target ${prefix}${path})
    add_library(${target} OBJECT ${ARG_SOURCES})
    target_compile_options(${target} PRIVATE ${QP_PATH_FLAGS_${path}} -Wno-psabi)
    target_compile_definitions(${target} PRIVATE QP_PATH_NS=path${path} QP_VEC_BYTES=${QP_PATH_VEC_BYTES_${path}})
    target_include_directories(${target} PRIVATE ${ARG_INCLUDES})
  endforeach()
endfunction()

# qp_add_code_path_variant(<target> PATH <n> NAMESPACE <ns> VEC_BYTES <bytes> SOURCES ...) builds
# sources once more with path <n>'s instruction sets at another vector width, into qp::<ns>.
function(qp_add_code_path_variant target)
  cmake_parse_arguments(ARG "" "PATH;NAMESPACE;VEC_BYTES" "SOURCES;INCLUDES" ${ARGN})
  add_library(${target} OBJECT ${ARG_SOURCES})
  target_compile_options(${target} PRIVATE ${QP_PATH_FLAGS_${ARG_PATH}} -Wno-psabi)
  target_compile_definitions(${target} PRIVATE QP_PATH_NS=${ARG_NAMESPACE} QP_VEC_BYTES=${ARG_VEC_BYTES})
  target_include_directories(${target} PRIVATE ${ARG_INCLUDES})
endfunction()

# Installs the library into a scratch prefix, then builds and runs the consumer against it twice:
# through find_package and through pkg-config.
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed: ${ARGN}\n${out}\n${err}")
  endif()
  set(last_output "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
foreach(file ${INCLUDEDIR}/quoraccelerate/quoraccelerate.h ${LIBDIR}/cmake/quoraccelerate/quoraccelerateConfig.cmake
             ${LIBDIR}/pkgconfig/quoraccelerate.pc ${LIBDIR}/libquoraccelerate.so.1)
  if(NOT EXISTS ${prefix}/${file})
    message(FATAL_ERROR "missing from the install: ${file}")
  endif()
endforeach()

run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/build -G ${GENERATOR} -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_CXX_COMPILER=${CXX})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run(${WORK_DIR}/build/consumer)
message(STATUS "find_package consumer: ${last_output}")

set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
run(pkg-config --cflags --libs quoraccelerate)
string(STRIP "${last_output}" flags)
separate_arguments(flags UNIX_COMMAND "${flags}")
run(${CXX} -std=c++17 ${SOURCE_DIR}/main.cpp ${flags} -Wl,-rpath,${prefix}/${LIBDIR} -o ${WORK_DIR}/consumer_pc)
run(${WORK_DIR}/consumer_pc)
message(STATUS "pkg-config consumer: ${last_output}")

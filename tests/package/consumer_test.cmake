# Installs the built libraries into a fresh prefix, then configures, builds and runs
# examples/consumer against it, as a downstream project would.
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix}
                RESULT_VARIABLE rc OUTPUT_QUIET)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "install failed: ${rc}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples/consumer -B ${WORK_DIR}/build
                        -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=Release
                RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "configure of the consumer failed:\n${out}\n${err}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/build
                RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "build of the consumer failed:\n${out}\n${err}")
endif()
execute_process(COMMAND ${WORK_DIR}/build/consumer RESULT_VARIABLE rc OUTPUT_VARIABLE out)
if(NOT rc EQUAL 0 OR NOT out MATCHES "layers 1 paths 11")
  message(FATAL_ERROR "consumer run failed (${rc}): ${out}")
endif()
# The pkg-config file must name the libraries.
file(GLOB_RECURSE pc_files ${prefix}/*/quorvexCommon.pc)
if(NOT pc_files)
  message(FATAL_ERROR "quorvexCommon.pc was not installed")
endif()
message(STATUS "consumer: ${out}")

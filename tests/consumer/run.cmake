# Installs the build into a scratch prefix, then configures, builds and runs
# a small program against it with find_package(vekj) and pkg-config's flags.
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix
                COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/consumer -B ${WORK_DIR}/build
                        -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/build COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
execute_process(COMMAND ${WORK_DIR}/build/consumer COMMAND_ERROR_IS_FATAL ANY)
file(GLOB pc ${WORK_DIR}/prefix/lib*/pkgconfig/vekj.pc ${WORK_DIR}/prefix/lib/*/pkgconfig/vekj.pc)
if(NOT pc)
  message(FATAL_ERROR "vekj.pc was not installed")
endif()

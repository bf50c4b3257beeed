# Installs the build at BUILD_DIR into a fresh prefix under WORK_DIR, then configures,
# builds and runs the consumer project in CONSUMER_DIR against that prefix only.
# Compiler and flags are passed on, so a sanitizer build links its consumer alike.
foreach(variable BUILD_DIR CONSUMER_DIR WORK_DIR CXX_COMPILER SAMPLE_FILE)
  if(NOT DEFINED ${variable})
    message(FATAL_ERROR "${variable} is not set")
  endif()
endforeach()

set(prefix ${WORK_DIR}/prefix)
set(consumer_build ${WORK_DIR}/consumer-build)
file(REMOVE_RECURSE ${WORK_DIR})

function(run_step description)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${description} failed (${result}):\n${output}")
  endif()
  message(STATUS "${description}: ok")
  set(step_output "${output}" PARENT_SCOPE)
endfunction()

run_step("install" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
foreach(installed include/TOVXStStorage/TOVIStorage.h include/TOVXStStorage/TOVXString.h
                  include/TOVXStStorage/host/TOVXStorageReader.h include/TOVXStStorage/host/TOVStgOpenStorageRoot.h)
  if(NOT EXISTS ${prefix}/${installed})
    message(FATAL_ERROR "install did not place ${installed}")
  endif()
endforeach()

# Only exported headers are installed: the library's internal ones stay in its sources.
foreach(internal TOVStSectorChain.h TOVStFileRead.h)
  if(EXISTS ${prefix}/include/TOVXStStorage/${internal})
    message(FATAL_ERROR "install placed the internal header ${internal}")
  endif()
endforeach()

# A cross build hands on its toolchain and names the package's folder outright, since the
# toolchain confines package searches to the target's system root; the consumer then runs
# under the build's emulator.
set(cross_arguments)
if(TOOLCHAIN_FILE)
  set(cross_arguments -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN_FILE}
                      -DTOVXStStorage_DIR=${prefix}/${LIBDIR}/cmake/TOVXStStorage)
endif()
run_step("configure consumer" ${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${consumer_build}
         -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
         -DCMAKE_CXX_COMPILER=${CXX_COMPILER} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
         "-DCMAKE_EXE_LINKER_FLAGS=${LINKER_FLAGS}" ${cross_arguments})
run_step("build consumer" ${CMAKE_COMMAND} --build ${consumer_build})
run_step("run consumer" ${EMULATOR} ${consumer_build}/consumer${EXECUTABLE_SUFFIX} ${SAMPLE_FILE})
message(STATUS "${step_output}")
file(REMOVE_RECURSE ${WORK_DIR})

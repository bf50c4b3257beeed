# Installs the library and builds the README's example programs against the installed
# package only, as a user would: once with find_package and once with
# `pkg-config --cflags --libs`, against the static libraries of the build at BUILD_DIR and
# against shared ones built here from SOURCE_DIR. Every program runs on SAMPLE_FILE.
# Compiler and flags are passed on, so a sanitizer build links its consumers alike.
foreach(variable BUILD_DIR SOURCE_DIR CONSUMER_DIR WORK_DIR CXX_COMPILER SAMPLE_FILE LIBDIR VERSION)
  if(NOT DEFINED ${variable})
    message(FATAL_ERROR "${variable} is not set")
  endif()
endforeach()
file(REMOVE_RECURSE ${WORK_DIR})
string(REPLACE " " ";" cxx_flags "${CXX_FLAGS}")
string(REPLACE " " ";" linker_flags "${LINKER_FLAGS}")
find_program(PKG_CONFIG pkg-config REQUIRED)

function(run_step description)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${description} failed (${result}):\n${output}")
  endif()
  message(STATUS "${description}: ok")
  set(step_output "${output}" PARENT_SCOPE)
endfunction()

# The examples, taken from the README as they stand: the code block after each
# "<!-- example: NAME -->" line.
set(examples native host)
file(READ ${SOURCE_DIR}/README.md readme)
foreach(example ${examples})
  string(FIND "${readme}" "<!-- example: ${example} -->" marker)
  if(marker EQUAL -1)
    message(FATAL_ERROR "the README has no example '${example}'")
  endif()
  string(SUBSTRING "${readme}" ${marker} -1 rest)
  string(FIND "${rest}" "```cpp\n" open)
  math(EXPR open "${open} + 7")
  string(SUBSTRING "${rest}" ${open} -1 rest)
  string(FIND "${rest}" "```" close)
  string(SUBSTRING "${rest}" 0 ${close} code)
  file(WRITE ${WORK_DIR}/examples/${example}.cpp "${code}")
endforeach()

function(check_installed prefix)
  foreach(installed TOVIStorage.h TOVXString.h ValueType.h TOVXStorageReader.h TOVStgOpenStorageRoot.h TOVXStorageApi.h)
    if(NOT EXISTS ${prefix}/include/TOVXStStorage/${installed})
      message(FATAL_ERROR "install did not place include/TOVXStStorage/${installed}")
    endif()
  endforeach()
  # Only exported headers are installed, and none lands directly on the include path.
  file(GLOB loose ${prefix}/include/*.h)
  foreach(unwanted ${loose} ${prefix}/include/TOVXStStorage/TOVStSectorChain.h ${prefix}/include/TOVXStStorage/TOVStFileRead.h)
    if(EXISTS ${unwanted})
      message(FATAL_ERROR "install placed ${unwanted}")
    endif()
  endforeach()
  if(NOT EXISTS ${prefix}/${LIBDIR}/pkgconfig/TOVXStStorage.pc)
    message(FATAL_ERROR "install did not place the pkg-config file")
  endif()
endfunction()

# A cross build (TOOLCHAIN_FILE): the static install and its consumer, built with the
# toolchain and run under the build's EMULATOR. The toolchain confines package searches to
# the target's system root, so the package's folder is named outright; pkg-config and
# shared libraries by their POSIX names are the host's and stay out.
if(TOOLCHAIN_FILE)
  run_step("install (static)" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/static)
  check_installed(${WORK_DIR}/static)
  set(build ${WORK_DIR}/consumer-cross)
  run_step("configure consumer (cross)" ${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${build}
           -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN_FILE} -DTOVXStStorage_DIR=${WORK_DIR}/static/${LIBDIR}/cmake/TOVXStStorage
           -DEXAMPLES_DIR=${WORK_DIR}/examples "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${LINKER_FLAGS}")
  run_step("build consumer (cross)" ${CMAKE_COMMAND} --build ${build})
  foreach(example ${examples})
    run_step("run ${example} (cross)" ${EMULATOR} ${build}/${example}${EXECUTABLE_SUFFIX} ${SAMPLE_FILE})
  endforeach()
  file(REMOVE_RECURSE ${WORK_DIR})
  return()
endif()

# Builds and runs every example against `prefix`, both ways.
function(use_package prefix kind)
  set(build ${WORK_DIR}/consumer-${kind})
  run_step("configure consumer (${kind}, find_package)" ${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${build}
           -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF -DEXAMPLES_DIR=${WORK_DIR}/examples
           -DCMAKE_CXX_COMPILER=${CXX_COMPILER} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${LINKER_FLAGS}")
  run_step("build consumer (${kind}, find_package)" ${CMAKE_COMMAND} --build ${build})
  set(ENV{PKG_CONFIG_LIBDIR} ${prefix}/${LIBDIR}/pkgconfig)
  run_step("pkg-config (${kind})" ${PKG_CONFIG} --cflags --libs TOVXStStorage)
  string(STRIP "${step_output}" pkg_flags)
  separate_arguments(pkg_flags UNIX_COMMAND "${pkg_flags}")
  foreach(example ${examples})
    run_step("build ${example} (${kind}, pkg-config)" ${CXX_COMPILER} -std=c++17 ${cxx_flags}
             ${WORK_DIR}/examples/${example}.cpp -o ${build}/${example}-pc ${pkg_flags} ${linker_flags})
    foreach(program ${build}/${example} ${build}/${example}-pc)
      run_step("run ${example} (${kind})" ${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${prefix}/${LIBDIR} ${program} ${SAMPLE_FILE})
    endforeach()
  endforeach()
endfunction()

# Static: the build at hand.
run_step("install (static)" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/static)
check_installed(${WORK_DIR}/static)
use_package(${WORK_DIR}/static static)

# Shared: the libraries alone, built again with BUILD_SHARED_LIBS.
set(shared_build ${WORK_DIR}/shared-build)
run_step("configure (shared)" ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${shared_build} -DBUILD_SHARED_LIBS=ON
         -DTOVX_BUILD_TESTS=OFF -DTOVX_BUILD_TOOLS=OFF -DCMAKE_BUILD_TYPE=${BUILD_TYPE} -DCMAKE_CXX_COMPILER=${CXX_COMPILER}
         "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" "-DCMAKE_SHARED_LINKER_FLAGS=${LINKER_FLAGS}")
run_step("build (shared)" ${CMAKE_COMMAND} --build ${shared_build} --parallel 2)
run_step("install (shared)" ${CMAKE_COMMAND} --install ${shared_build} --prefix ${WORK_DIR}/shared)
check_installed(${WORK_DIR}/shared)
string(REGEX MATCH "^[0-9]+" major "${VERSION}")
foreach(library TOVXStStorage TOVXBase)
  foreach(name lib${library}.so.${VERSION} lib${library}.so.${major})
    if(NOT EXISTS ${WORK_DIR}/shared/${LIBDIR}/${name})
      message(FATAL_ERROR "the shared install has no ${LIBDIR}/${name}")
    endif()
  endforeach()
endforeach()
use_package(${WORK_DIR}/shared shared)
file(REMOVE_RECURSE ${WORK_DIR})

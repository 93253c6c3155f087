# Configures, builds and runs examples/cpp as a user would, against the library found by
# find_package.
#
#   cmake -DSOURCE=... -DWORK=... -DBUILD=... -DFROM=build|install [-D...] -P check_package.cmake
#
# SOURCE: root of the repository. BUILD: its build folder. WORK: a folder of our own, emptied first.
# FROM: `build` finds the package in the build folder, `install` in a temporary prefix. COMPILER,
# GENERATOR, MAKE, TYPE, FLAGS: as the library was built.

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output
                  ERROR_VARIABLE output)
  message("${output}")
  if(NOT result EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "ends with ${result}: ${command}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK})
if(FROM STREQUAL "install")
  run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/prefix)
  set(place -DCMAKE_PREFIX_PATH=${WORK}/prefix)
else()
  set(place -DximAPI_DIR=${BUILD})
endif()

run(${CMAKE_COMMAND} -S ${SOURCE}/examples/cpp -B ${WORK}/examples -G ${GENERATOR} ${place}
    -DCMAKE_MAKE_PROGRAM=${MAKE} -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_BUILD_TYPE=${TYPE}
    "-DCMAKE_CXX_FLAGS=${FLAGS}")

# Found where it was looked for, and not somewhere else on this machine.
file(STRINGS ${WORK}/examples/CMakeCache.txt found REGEX "^ximAPI_DIR:")
if(FROM STREQUAL "install")
  set(expected "${WORK}/prefix/")
else()
  set(expected "${BUILD}")
endif()
string(FIND "${found}" "=${expected}" at)
if(at EQUAL -1)
  message(FATAL_ERROR "the package was found elsewhere: ${found}")
endif()

run(${CMAKE_COMMAND} --build ${WORK}/examples)
run(${CMAKE_CTEST_COMMAND} --test-dir ${WORK}/examples --output-on-failure --no-tests=error)

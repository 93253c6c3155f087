# How a folder of the library, a test suite and a benchmark are declared.

add_library(xim_settings INTERFACE)
target_compile_features(xim_settings INTERFACE cxx_std_20)
target_compile_options(
  xim_settings
  INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
            -Woverloaded-virtual -Werror -ffp-contract=off
            # g++ 12 warns falsely of std::string at full optimisation
            $<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:Release>>:-Wno-array-bounds;-Wno-restrict;-Wno-stringop-overflow>)
target_include_directories(xim_settings INTERFACE ${PROJECT_SOURCE_DIR}/include
                                                  ${PROJECT_SOURCE_DIR}/src)
target_link_libraries(xim_settings INTERFACE Eigen3::Eigen PkgConfig::JSONCPP Threads::Threads)
if(XIM_SANITIZE)
  target_compile_options(xim_settings INTERFACE -fsanitize=${XIM_SANITIZE}
                                                -fno-sanitize-recover=all -fno-omit-frame-pointer
                                                # g++ 12 warns falsely of std::regex
                                                -Wno-maybe-uninitialized)
  target_link_options(xim_settings INTERFACE -fsanitize=${XIM_SANITIZE})
endif()

# Tests are compiled for the compiler's speed; what they test keeps its optimisation.
add_library(xim_test_settings INTERFACE)
target_compile_options(xim_test_settings INTERFACE $<$<CONFIG:Release>:-O0>)

set_property(GLOBAL PROPERTY XIM_LAYERS "")

# xim_precompile(<target> <header>): the first target with a header compiles it, the others, which
# have the same options, share the result.
function(xim_precompile target header)
  get_property(first GLOBAL PROPERTY "XIM_FIRST_WITH_${header}")
  if(first)
    target_precompile_headers(${target} REUSE_FROM ${first})
  else()
    target_precompile_headers(${target} PRIVATE ${PROJECT_SOURCE_DIR}/${header})
    set_property(GLOBAL PROPERTY "XIM_FIRST_WITH_${header}" ${target})
  endif()
endfunction()

# xim_layer(<name> FILES <sources> HEADERS <headers> DEPENDS <lower layers>): the static library
# xim_<name> of the folder. All layers together make the shared library.
function(xim_layer name)
  cmake_parse_arguments(arg "" "" "FILES;HEADERS;DEPENDS" ${ARGN})
  add_library(xim_${name} STATIC)
  target_link_libraries(xim_${name} PUBLIC xim_settings)
  foreach(layer IN LISTS arg_DEPENDS)
    target_link_libraries(xim_${name} PUBLIC xim_${layer})
  endforeach()
  xim_precompile(xim_${name} cmake/precompiled.hpp)
  target_compile_definitions(xim_${name} PRIVATE XIM_BUILDING)
  set_property(GLOBAL APPEND PROPERTY XIM_LAYERS xim_${name})
  xim_layer_files(${name} FILES ${arg_FILES} HEADERS ${arg_HEADERS})
endfunction()

# xim_layer_files(<name> FILES <sources> HEADERS <headers>): more files of a layer, from a
# sub-folder.
function(xim_layer_files name)
  cmake_parse_arguments(arg "" "" "FILES;HEADERS" ${ARGN})
  target_sources(xim_${name} PRIVATE ${arg_FILES} ${arg_HEADERS})
endfunction()

# xim_tests(<name> FILES <sources> [LINK <targets>] [LABELS <labels>]): the suite <name>_tests, made
# in one or several calls. Each suite links its layer and the shared test helpers.
function(xim_tests name)
  cmake_parse_arguments(arg "" "" "FILES;LINK;LABELS;ARGS" ${ARGN})
  if(NOT TARGET ${name}_tests)
    add_executable(${name}_tests)
    target_link_libraries(${name}_tests PRIVATE xim_${name} xim_test_settings GTest::gtest GTest::gmock
                                                GTest::gtest_main)
    target_include_directories(${name}_tests PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    xim_precompile(${name}_tests tests/support/precompiled.hpp)
    set_target_properties(${name}_tests PROPERTIES RUNTIME_OUTPUT_DIRECTORY
                                                   ${PROJECT_BINARY_DIR}/tests)
    set_property(GLOBAL APPEND PROPERTY XIM_SUITES ${name}_tests)
  endif()
  target_sources(${name}_tests PRIVATE ${arg_FILES})
  if(arg_LINK)
    target_link_libraries(${name}_tests PRIVATE ${arg_LINK})
  endif()
endfunction()

# xim_bench(<name> FILES <sources> [LINK <targets>]): one benchmark program.
function(xim_bench name)
  cmake_parse_arguments(arg "" "" "FILES;LINK" ${ARGN})
  add_executable(${name} ${arg_FILES})
  target_link_libraries(${name} PRIVATE xim_settings benchmark::benchmark ${arg_LINK})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bench)
endfunction()

# What every target of the project shares: warnings, sanitizers, and the shape of a test executable.

add_library(tlx_build_flags INTERFACE)
target_compile_options(tlx_build_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
  -Woverloaded-virtual -Wno-unused-parameter)
# GCC 12 sees overlapping copies in its own string concatenation where there are none.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(tlx_build_flags INTERFACE -Wno-restrict)
endif()
if(TLX_WERROR)
  target_compile_options(tlx_build_flags INTERFACE -Werror)
endif()
if(TLX_SANITIZE)
  # What the sanitizers put in hides from GCC which member of a variant is the one that is set.
  target_compile_options(tlx_build_flags INTERFACE -fsanitize=${TLX_SANITIZE} -fno-omit-frame-pointer
    -fno-sanitize-recover=all $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  target_link_options(tlx_build_flags INTERFACE -fsanitize=${TLX_SANITIZE})
endif()

# tlx_add_library(name sources...): a static library of the project, warnings on, include root at the repository's top.
function(tlx_add_library name)
  add_library(${name} STATIC ${ARGN})
  target_link_libraries(${name} PRIVATE tlx_build_flags)
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
endfunction()

# tlx_add_test(name SOURCES ... LINK ...): a GoogleTest executable, every test of which is known to ctest by name.
function(tlx_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK;ENVIRONMENT" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LINK} GTest::gmock GTest::gtest_main tlx_build_flags)
  # Most of a test's build is reading these, and optimising what runs once.
  target_precompile_headers(${name} PRIVATE <gmock/gmock.h> <gtest/gtest.h> <functional> <memory> <string> <vector>)
  target_compile_options(${name} PRIVATE -O0)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300 ENVIRONMENT "${ARG_ENVIRONMENT}")
endfunction()

# tlx_add_module(target name SOURCES ... LINK ...): what a program opens at run time as name.so, beside the programs of a
# build. It shows nothing but its own sources' functions: copies of our libraries in it are its own.
function(tlx_add_module target name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_library(${target} MODULE ${ARG_SOURCES})
  set_target_properties(${target} PROPERTIES PREFIX "" OUTPUT_NAME ${name}
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
  target_compile_definitions(${target} PRIVATE TLX_BUILD_VERSION="${PROJECT_VERSION}")
  target_link_libraries(${target} PRIVATE ${ARG_LINK} tlx_build_flags)
  target_link_options(${target} PRIVATE -Wl,--as-needed -Wl,--exclude-libs,ALL)
  install(TARGETS ${target} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/tlx-media-picker)
endfunction()

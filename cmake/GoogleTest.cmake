# Compiling tests takes much longer than running them, so they are not optimised, nor is GoogleTest.
set(MC_TEST_OPTIONS -O0)
# A test that fails names its line; a sanitizer needs what the compiler knows of lines.
if(NOT MC_SANITIZE)
  list(APPEND MC_TEST_OPTIONS -g0)
endif()
# GCC would stop many times in a file to collect garbage; 256 MB hold most of what there is.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  list(APPEND MC_TEST_OPTIONS --param=ggc-min-heapsize=262144)
endif()

# What tests run counts, not the tests.
if(MC_COVERAGE)
  list(APPEND MC_TEST_OPTIONS -fno-profile-arcs -fno-test-coverage)
endif()

# GoogleTest from the sources that Debian's googletest package installs: built with the flags of the
# build at hand, so that sanitizers and the cross build get one of their own.
set(MC_GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "GoogleTest sources")
if(NOT EXISTS ${MC_GOOGLETEST_SOURCE}/CMakeLists.txt)
  message(FATAL_ERROR "no GoogleTest sources in ${MC_GOOGLETEST_SOURCE}: install package googletest")
endif()
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
set(BUILD_GMOCK ON CACHE BOOL "" FORCE)
add_subdirectory(${MC_GOOGLETEST_SOURCE} googletest EXCLUDE_FROM_ALL SYSTEM)
include(GoogleTest)
foreach(target gtest gtest_main gmock gmock_main)
  target_compile_options(${target} PRIVATE -w ${MC_TEST_OPTIONS})
  if(NOT TARGET GTest::${target})
    add_library(GTest::${target} ALIAS ${target})
  endif()
endforeach()

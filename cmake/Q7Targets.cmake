# How every target of this project is compiled.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# The compilers of other versions have other warnings: only the presets whose compilers the test run uses
# make errors of them. cl is not among these.
option(Q7_WERROR "Make errors of warnings" OFF)

# With MSVC's runtime in each binary a host's older msvcp140.dll does not matter (std::mutex of Visual
# Studio 17.10 crashes with one), and nothing is to be installed with the DLL. The streams are then its own,
# so that a host's wide mode of standard output does not spoil the narrow lines written there. Memory is
# freed by the library that took it, also that of exceptions: these are destroyed by code of the one
# that threw them, so the library must stay loaded as long as a host keeps one. vcpkg's triplet must have
# the same runtime.
if(MSVC AND NOT DEFINED CMAKE_MSVC_RUNTIME_LIBRARY)
  set(CMAKE_MSVC_RUNTIME_LIBRARY MultiThreaded$<$<CONFIG:Debug>:Debug>)
endif()

add_library(q7_flags INTERFACE)
if(MSVC)
  # Exports are functions of C linkage that throw. /EHsc, which CMake puts there by itself, would drop the
  # handlers and destructors around calls of them.
  string(REGEX REPLACE "[-/]EH[a-z]+" "" CMAKE_CXX_FLAGS "${CMAKE_CXX_FLAGS}")
  target_compile_options(q7_flags INTERFACE
    /W4 $<$<BOOL:${Q7_WERROR}>:/WX> /permissive- /utf-8 /fp:precise /EHs /EHc- /guard:cf)
  target_link_options(q7_flags INTERFACE /guard:cf)
  target_compile_definitions(q7_flags INTERFACE _CRT_SECURE_NO_WARNINGS)
else()
  # No contraction of a*b+c: results are the same bits in every build.
  target_compile_options(q7_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    -Wnon-virtual-dtor $<$<BOOL:${Q7_WERROR}>:-Werror> -ffp-contract=off)
  # What makes a mistake of ours harder to exploit inside somebody else's process.
  # tests/abi/hardening.py looks for it in the binaries.
  target_compile_options(q7_flags INTERFACE
    $<$<CONFIG:Release>:-fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
  if(WIN32)
    target_link_options(q7_flags INTERFACE
      LINKER:--dynamicbase,--high-entropy-va,--nxcompat $<$<CONFIG:Release>:-fstack-protector-strong>)
  elseif(NOT APPLE)
    target_link_options(q7_flags INTERFACE LINKER:-z,relro,-z,now,-z,noexecstack)
  endif()
  # GCC 12 sees overlaps in the concatenation of strings that are not there (its bug 105651).
  target_compile_options(q7_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
  if(Q7_SANITIZE)
    target_compile_options(q7_flags INTERFACE -fsanitize=${Q7_SANITIZE}
      -fno-sanitize-recover=all -fno-omit-frame-pointer -g -O1)
    target_link_options(q7_flags INTERFACE -fsanitize=${Q7_SANITIZE})
  endif()
  # Tests, and tools under a sanitizer, spend far more time in the compiler than at work.
  target_compile_options(q7_flags INTERFACE
    $<$<BOOL:$<TARGET_PROPERTY:Q7_QUICK_TO_COMPILE>>:-O0 -g1>)
endif()
if(WIN32)
  target_compile_definitions(q7_flags INTERFACE UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN)
endif()
find_package(Threads REQUIRED)
target_link_libraries(q7_flags INTERFACE Threads::Threads)

# The thread sanitizer is for what has threads: the library and the stand-in renderer.
string(COMPARE EQUAL "${Q7_SANITIZE}" thread Q7_THREADS_ONLY)

# q7_program(NAME sources...): an executable in bin/.
function(q7_program name)
  add_executable(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE q7_flags)
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin
    BUILD_RPATH_USE_ORIGIN ON)
endfunction()

# q7_tests(TARGET): what the tests of one executable have in common.
function(q7_tests name)
  target_link_libraries(${name} PRIVATE q7_json GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  set_target_properties(${name} PROPERTIES Q7_QUICK_TO_COMPILE ON)
  # Not in the build for debugging: it shows that each file includes what it needs.
  if(Q7_SANITIZE OR NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
    if(NOT TARGET q7test_headers)
      # A program, as the tests are: both must be compiled with the same options.
      file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/q7test_headers.cpp CONTENT "int main() {}\n")
      add_executable(q7test_headers EXCLUDE_FROM_ALL ${PROJECT_BINARY_DIR}/q7test_headers.cpp)
      target_link_libraries(q7test_headers PRIVATE q7_flags GTest::gtest)
      target_precompile_headers(q7test_headers PRIVATE
        <gtest/gtest.h> <filesystem> <fstream> <functional> <sstream> <thread>)
      set_target_properties(q7test_headers PROPERTIES Q7_QUICK_TO_COMPILE ON)
    endif()
    target_precompile_headers(${name} REUSE_FROM q7test_headers)
  endif()
endfunction()

# q7_host(NAME sources...): a program that uses the library only through the public header; on Windows
# the DLL is put beside it.
function(q7_host name)
  q7_program(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE Q7Plugin)
  if(WIN32)
    add_custom_command(TARGET ${name} POST_BUILD VERBATIM
      COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:Q7Plugin> $<TARGET_FILE_DIR:${name}>)
  endif()
endfunction()

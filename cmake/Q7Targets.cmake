# How every target of this project is compiled.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

add_library(q7_flags INTERFACE)
if(MSVC)
  target_compile_options(q7_flags INTERFACE /W4 /WX /permissive- /utf-8 /fp:precise /EHsc)
  target_compile_definitions(q7_flags INTERFACE _CRT_SECURE_NO_WARNINGS)
else()
  # No contraction of a*b+c: results are the same bits in every build.
  target_compile_options(q7_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    -Wnon-virtual-dtor -Werror -ffp-contract=off)
  # GCC 12 sees overlaps in the concatenation of strings that are not there (its bug 105651).
  target_compile_options(q7_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
  if(Q7_SANITIZE)
    target_compile_options(q7_flags INTERFACE -fsanitize=${Q7_SANITIZE}
      -fno-sanitize-recover=all -fno-omit-frame-pointer -g -O1)
    target_link_options(q7_flags INTERFACE -fsanitize=${Q7_SANITIZE})
  endif()
endif()
if(WIN32)
  target_compile_definitions(q7_flags INTERFACE UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN)
endif()
find_package(Threads REQUIRED)
target_link_libraries(q7_flags INTERFACE Threads::Threads)

# q7_program(NAME sources...): an executable in bin/.
function(q7_program name)
  add_executable(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE q7_flags)
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin
    BUILD_RPATH_USE_ORIGIN ON)
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

# A caller of the MinGW ABI by clang, with the C++ library of the installed MinGW-w64.

if(NOT Q7_CLANG)
  add_test(NAME abi_clang_caller COMMAND ${CMAKE_COMMAND} -E echo "SKIP: clang is not installed")
  set_tests_properties(abi_clang_caller PROPERTIES SKIP_REGULAR_EXPRESSION "^SKIP: ")
  return()
endif()

# clang does not find these by itself in each distribution; its own take the place of GCC's built-in ones.
set(library_headers ${CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES})
list(FILTER library_headers INCLUDE REGEX "/c\\+\\+")
list(TRANSFORM library_headers PREPEND -isystem)

set(clang_caller ${CMAKE_CURRENT_BINARY_DIR}/clang_caller)
add_custom_command(OUTPUT ${clang_caller}.obj VERBATIM
  COMMAND ${Q7_CLANG} --target=x86_64-w64-mingw32 -Xclang -fexternc-nounwind -std=c++20 -O1
    -Wall -Wextra -Werror -nostdinc++ ${library_headers} -I${CMAKE_SOURCE_DIR}/src/api
    -c ${CMAKE_CURRENT_SOURCE_DIR}/clang_caller.cpp -o ${clang_caller}.obj
  DEPENDS clang_caller.cpp ${public_header})
add_executable(clang_caller ${clang_caller}.obj)
set_target_properties(clang_caller PROPERTIES LINKER_LANGUAGE CXX)
target_link_libraries(clang_caller PRIVATE Q7Plugin)
# Each of the two compilers pads the name of std::exception in its own way; the linker keeps one of them.
target_link_options(clang_caller PRIVATE LINKER:--no-warnings)

# c_host puts the DLL beside itself, and so beside this program.
add_dependencies(clang_caller c_host)
add_test(NAME abi_clang_caller COMMAND clang_caller WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})

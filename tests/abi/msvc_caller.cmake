# Callers that follow the MSVC ABI, by clang and lld, which need no Windows SDK for it.

find_program(Q7_LLD_LINK lld-link)
find_program(Q7_DLLTOOL llvm-dlltool)
if(NOT Q7_CLANG OR NOT Q7_LLD_LINK OR NOT Q7_DLLTOOL)
  q7_missing("clang, lld-link or llvm-dlltool" "the test abi_msvc_caller")
  return()
endif()

# q7_import_library(output def): what MSVC's own library manager would make of a list of exports.
function(q7_import_library output def)
  add_custom_command(OUTPUT ${output} VERBATIM
    COMMAND ${Q7_DLLTOOL} -m i386:x86-64 -d ${def} -l ${output}
    DEPENDS ${def})
endfunction()

set(folder ${CMAKE_CURRENT_BINARY_DIR})
q7_import_library(${folder}/kernel32.lib ${CMAKE_CURRENT_SOURCE_DIR}/kernel32.def)
q7_import_library(${folder}/msvcrt.lib ${CMAKE_CURRENT_SOURCE_DIR}/msvcrt.def)
q7_import_library(${folder}/Q7Plugin.lib ${CMAKE_BINARY_DIR}/src/Q7Plugin.def)

add_custom_command(OUTPUT ${folder}/msvc_caller.obj VERBATIM
  COMMAND ${Q7_CLANG} --target=x86_64-pc-windows-msvc -std=c++20 -ffreestanding -fno-exceptions
    -fno-rtti -mno-stack-arg-probe -O1 -Wall -Wextra -Werror -I${CMAKE_SOURCE_DIR}/src/api
    -c ${CMAKE_CURRENT_SOURCE_DIR}/msvc_caller.cpp -o ${folder}/msvc_caller.obj
  DEPENDS msvc_caller.cpp ${public_header})

add_custom_command(OUTPUT ${folder}/msvc_caller.exe VERBATIM
  COMMAND ${Q7_LLD_LINK} /nologo /entry:start /subsystem:console /nodefaultlib
    /out:${folder}/msvc_caller.exe ${folder}/msvc_caller.obj ${folder}/Q7Plugin.lib
    ${folder}/kernel32.lib
  DEPENDS ${folder}/msvc_caller.obj ${folder}/Q7Plugin.lib ${folder}/kernel32.lib)

# q7_msvc_object(name options...): compiled as hosts are in Visual Studio, but for what needs its runtime.
function(q7_msvc_object name)
  add_custom_command(OUTPUT ${folder}/${name}.obj VERBATIM
    COMMAND ${Q7_CLANG} --driver-mode=cl --target=x86_64-pc-windows-msvc /nologo /std:c++20 /O1 /GS-
      /W4 /WX ${ARGN} -I${CMAKE_SOURCE_DIR}/src/api /c /Fo${folder}/${name}.obj
      -- ${CMAKE_CURRENT_SOURCE_DIR}/${name}.cpp
    DEPENDS ${name}.cpp ${public_header})
endfunction()

# The host is compiled as hosts usually are, the library as ours is.
q7_msvc_object(msvc_handler /EHsc)
q7_msvc_object(msvc_thrower /EHs /EHc- /DQ7PLUGIN_BUILD)
set(throwing ${folder}/throwing)
file(MAKE_DIRECTORY ${throwing})
add_custom_command(OUTPUT ${throwing}/Q7Plugin.dll VERBATIM
  COMMAND ${Q7_LLD_LINK} /nologo /dll /entry:start /nodefaultlib
    /def:${CMAKE_CURRENT_SOURCE_DIR}/msvc_thrower.def /out:${throwing}/Q7Plugin.dll
    ${folder}/msvc_thrower.obj ${folder}/msvcrt.lib
  DEPENDS ${folder}/msvc_thrower.obj ${folder}/msvcrt.lib msvc_thrower.def)
add_custom_command(OUTPUT ${throwing}/msvc_handler.exe VERBATIM
  COMMAND ${Q7_LLD_LINK} /nologo /entry:start /subsystem:console /nodefaultlib
    /out:${throwing}/msvc_handler.exe ${folder}/msvc_handler.obj ${folder}/Q7Plugin.lib
    ${folder}/kernel32.lib ${folder}/msvcrt.lib
  DEPENDS ${folder}/msvc_handler.obj ${folder}/Q7Plugin.lib ${folder}/kernel32.lib
    ${folder}/msvcrt.lib)
add_custom_target(msvc_handler ALL DEPENDS ${throwing}/msvc_handler.exe ${throwing}/Q7Plugin.dll)
add_test(NAME abi_msvc_handler
  COMMAND ${CMAKE_CROSSCOMPILING_EMULATOR} ${throwing}/msvc_handler.exe
  WORKING_DIRECTORY ${throwing})

# c_host puts the DLL beside itself, and so beside this program.
add_custom_target(msvc_caller ALL DEPENDS ${folder}/msvc_caller.exe)
add_dependencies(msvc_caller c_host)
add_test(NAME abi_msvc_caller
  COMMAND ${CMAKE_CROSSCOMPILING_EMULATOR} ${folder}/msvc_caller.exe
  WORKING_DIRECTORY ${folder})

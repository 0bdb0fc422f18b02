# zlib, for the tools that read archives, and minizip-ng, which writes them.
#
# minizip-ng is built from the source of one release into the library, where its functions are hidden and a
# host's own cannot take their place. Where neither the source nor a static zlib can be had, a package is
# used: a static library is linked, a shared one is loaded by src/archive/zip_library.h.

include(Q7MinizipSource)
# No PATH: CMake would read a backslash in it as a slash, and let it begin at the working directory.
set(Q7_DOWNLOADS "" CACHE STRING "Folder of files that are downloaded already")

# A shared zlib of the host's process may be another build than the one that was tested.
set(ZLIB_USE_STATIC_LIBS ON)
# CMake would keep a shared zlib that an earlier run has found in this build folder.
foreach(entry ZLIB_LIBRARY ZLIB_LIBRARY_RELEASE ZLIB_LIBRARY_DEBUG)
  if(NOT "${${entry}}" MATCHES "\\.(a|lib)$" OR "${${entry}}" MATCHES "\\.dll\\.a$")
    unset(${entry} CACHE)
  endif()
endforeach()
find_package(ZLIB QUIET)
set(zlib_problem)
if(NOT ZLIB_FOUND)
  set(zlib_problem "there is no static zlib")
  set(ZLIB_USE_STATIC_LIBS OFF)
  find_package(ZLIB REQUIRED)
elseif(UNIX)
  # A static library may have been compiled for programs only. The result is that of this file.
  string(MD5 key "${ZLIB_LIBRARIES}")
  set(fits Q7_ZLIB_FITS_LIBRARIES_${key})
  include(CheckCSourceCompiles)
  set(CMAKE_REQUIRED_LIBRARIES ZLIB::ZLIB)
  set(CMAKE_REQUIRED_FLAGS -fPIC)
  set(CMAKE_REQUIRED_LINK_OPTIONS -shared -Wl,-Bsymbolic -Wl,-z,text)
  set(CMAKE_REQUIRED_QUIET ON)
  check_c_source_compiles("
    #include <zlib.h>
    int pack(z_stream* stream) { return deflateInit(stream, 9) + deflate(stream, Z_FINISH); }"
    ${fits})
  if(NOT ${fits})
    set(zlib_problem "the static zlib cannot be linked into a library")
  endif()
  foreach(setting LIBRARIES FLAGS LINK_OPTIONS QUIET)
    unset(CMAKE_REQUIRED_${setting})
  endforeach()
endif()
add_library(q7_zlib INTERFACE)
target_link_libraries(q7_zlib INTERFACE ZLIB::ZLIB)

add_library(q7_minizip INTERFACE)
# How archives are written: "source", "linked", "loaded", or "bridge" (loaded, and only under Wine).
set(Q7_MINIZIP_ROUTE)
set(source_problem ${zlib_problem})
if(NOT source_problem)
  q7_minizip_tarball(tarball source_problem "${PROJECT_SOURCE_DIR}/build/packages" "${PROJECT_BINARY_DIR}")
endif()

if(tarball)
  set(Q7_MINIZIP_ROUTE source)
  set(Q7_MINIZIP_SOURCE ${PROJECT_BINARY_DIR}/${Q7_MINIZIP_NAME})
  file(ARCHIVE_EXTRACT INPUT "${tarball}" DESTINATION "${PROJECT_BINARY_DIR}")
  set(system posix)
  if(WIN32)
    set(system win32)
  endif()
  set(sources mz_crypt mz_os mz_os_${system} mz_strm mz_strm_buf mz_strm_mem mz_strm_os_${system}
    mz_strm_split mz_strm_zlib mz_zip mz_zip_rw)
  list(TRANSFORM sources PREPEND ${Q7_MINIZIP_SOURCE}/)
  list(TRANSFORM sources APPEND .c)
  add_library(q7_minizip_source STATIC ${sources})
  target_compile_definitions(q7_minizip_source PRIVATE HAVE_STDINT_H HAVE_INTTYPES_H HAVE_ZLIB ZLIB_COMPAT
    MZ_ZIP_NO_CRYPTO MZ_ZIP_NO_ENCRYPTION MZ_ZIP_NO_DECOMPRESSION)
  if(UNIX)
    target_compile_definitions(q7_minizip_source PRIVATE
      _LARGEFILE64_SOURCE _POSIX_C_SOURCE=200809L _DEFAULT_SOURCE)
  endif()
  set_target_properties(q7_minizip_source PROPERTIES
    C_VISIBILITY_PRESET hidden ARCHIVE_OUTPUT_DIRECTORY ${Q7_MINIZIP_SOURCE})
  # Warnings of somebody else's code are not for here.
  target_compile_options(q7_minizip_source PRIVATE $<IF:$<BOOL:${MSVC}>,/w,-w>)
  target_include_directories(q7_minizip_source SYSTEM PUBLIC ${Q7_MINIZIP_SOURCE})
  target_link_libraries(q7_minizip_source PUBLIC q7_zlib)
  target_link_libraries(q7_minizip INTERFACE q7_minizip_source)
  message(STATUS "minizip-ng: built from ${tarball} into the library")
else()
  set(Q7_MINIZIP_PREFIX ${PROJECT_SOURCE_DIR}/build/packages/minizip-ng/usr)
  if(CMAKE_CROSSCOMPILING)
    # The headers are the same on every system; a Windows build is not among the packages.
    find_path(q7_minizip_HEADERS mz_zip_rw.h NO_CMAKE_FIND_ROOT_PATH NO_DEFAULT_PATH
      PATHS /usr/include/minizip-ng ${Q7_MINIZIP_PREFIX}/include/minizip-ng)
    if(q7_minizip_HEADERS)
      set(Q7_MINIZIP_ROUTE bridge)
      target_include_directories(q7_minizip SYSTEM INTERFACE ${q7_minizip_HEADERS})
      set(minizip_file minizip-ng.dll)
      set(consequence "loaded from ${minizip_file}, a bridge for tests under Wine: archives fail on Windows")
    endif()
  else()
    find_package(minizip-ng CONFIG QUIET PATHS ${Q7_MINIZIP_PREFIX})
    if(TARGET MINIZIP::minizip-ng)
      get_target_property(minizip_kind MINIZIP::minizip-ng TYPE)
      if(minizip_kind STREQUAL SHARED_LIBRARY)
        set(Q7_MINIZIP_ROUTE loaded)
        target_include_directories(q7_minizip SYSTEM INTERFACE
          $<TARGET_PROPERTY:MINIZIP::minizip-ng,INTERFACE_INCLUDE_DIRECTORIES>)
        set(minizip_file $<TARGET_SONAME_FILE_NAME:MINIZIP::minizip-ng>)
        if(WIN32)
          set(minizip_file $<TARGET_FILE_NAME:MINIZIP::minizip-ng>)
        endif()
        set(consequence "a package, loaded for each archive: its file is needed beside the library or from the system")
      else()
        set(Q7_MINIZIP_ROUTE linked)
        target_link_libraries(q7_minizip INTERFACE MINIZIP::minizip-ng)
        set(consequence "a package, linked into the library")
      endif()
    endif()
  endif()
  if(NOT Q7_MINIZIP_ROUTE)
    message(FATAL_ERROR "minizip-ng is required: there is no package of it, and its source cannot be used "
      "(${source_problem}). scripts/setup.sh installs one of them; Q7_DOWNLOADS can name a folder with "
      "${Q7_MINIZIP_NAME}.tar.gz, which is ${Q7_MINIZIP_URL}")
  endif()
  if(minizip_file)
    target_compile_definitions(q7_minizip INTERFACE Q7_ZIP_LIBRARY="${minizip_file}")
  endif()
  message(STATUS "minizip-ng: ${consequence} (source: ${source_problem})")
endif()

# A package that is this checkout's own stands beside the library, so that both can be taken elsewhere, and
# beside the programs of the build. A package of the system is left where it is.
add_custom_target(q7_minizip_copies)
set(minizip_is_private OFF)
if(Q7_MINIZIP_ROUTE STREQUAL loaded)
  cmake_path(IS_PREFIX Q7_MINIZIP_PREFIX "${minizip-ng_DIR}" minizip_is_private)
endif()
if(minizip_is_private)
  foreach(folder ${CMAKE_BINARY_DIR} ${CMAKE_BINARY_DIR}/bin)
    add_custom_command(TARGET q7_minizip_copies POST_BUILD VERBATIM
      COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
      COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:MINIZIP::minizip-ng>
        ${folder}/${minizip_file})
  endforeach()
endif()

# Finds the source of minizip-ng, or downloads it: one release, whose hash is pinned here.
#
#   cmake -P cmake/Q7MinizipSource.cmake    downloads the release for all builds of this checkout

set(Q7_MINIZIP_NAME minizip-ng-4.0.10)
set(Q7_MINIZIP_HASH c362e35ee973fa7be58cc5e38a4a6c23cc8f7e652555daf4f115a9eb2d3a6be7)
if(NOT DEFINED Q7_MINIZIP_URL)
  set(Q7_MINIZIP_URL https://github.com/zlib-ng/minizip-ng/archive/refs/tags/4.0.10.tar.gz)
endif()

# q7_minizip_tarball(TARBALL REASON FOLDER): sets TARBALL to the release in FOLDER, where it comes from the
# folder that Q7_DOWNLOADS names (the environment comes before the cache entry; a relative path begins at
# the checkout) or by a download. Leaves TARBALL empty, with the reason, when neither has it. A file of that
# name that is not the release ends CMake: somebody has changed it, or the copy was cut short.
function(q7_minizip_tarball tarball reason folder)
  set(${tarball} "" PARENT_SCOPE)
  set(given ${Q7_DOWNLOADS})
  if(NOT "$ENV{Q7_DOWNLOADS}" STREQUAL "")
    set(given $ENV{Q7_DOWNLOADS})
  endif()
  if(given)
    cmake_path(ABSOLUTE_PATH given BASE_DIRECTORY ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/..)
    if(NOT IS_DIRECTORY ${given})
      message(FATAL_ERROR "Q7_DOWNLOADS: ${given} is not a folder")
    endif()
  endif()
  foreach(place IN LISTS given folder)
    set(file ${place}/${Q7_MINIZIP_NAME}.tar.gz)
    if(EXISTS ${file})
      file(SHA256 ${file} hash)
      if(NOT hash STREQUAL Q7_MINIZIP_HASH)
        message(FATAL_ERROR "${file}: not the release that is wanted: its SHA-256 is ${hash}, "
          "expected ${Q7_MINIZIP_HASH}")
      endif()
      # Later runs need not be given the folder again.
      if(NOT place STREQUAL folder)
        file(COPY ${file} DESTINATION ${folder})
      endif()
      set(${tarball} ${folder}/${Q7_MINIZIP_NAME}.tar.gz PARENT_SCOPE)
      return()
    endif()
  endforeach()

  string(RANDOM suffix)
  set(part ${file}.${suffix})
  file(DOWNLOAD ${Q7_MINIZIP_URL} ${part} STATUS status TIMEOUT 60 INACTIVITY_TIMEOUT 15)
  list(POP_FRONT status failed)
  if(NOT failed)
    file(SHA256 ${part} hash)
    if(hash STREQUAL Q7_MINIZIP_HASH)
      file(RENAME ${part} ${file})
      set(${tarball} ${file} PARENT_SCOPE)
      return()
    endif()
    set(status "its SHA-256 is ${hash}")
  endif()
  file(REMOVE ${part})
  set(${reason} "${Q7_MINIZIP_URL}: ${status}" PARENT_SCOPE)
endfunction()

if(CMAKE_SCRIPT_MODE_FILE STREQUAL CMAKE_CURRENT_LIST_FILE)
  cmake_minimum_required(VERSION 3.25)
  q7_minizip_tarball(tarball reason ${CMAKE_CURRENT_LIST_DIR}/../build/packages)
  if(NOT tarball)
    message(FATAL_ERROR "${reason}")
  endif()
endif()

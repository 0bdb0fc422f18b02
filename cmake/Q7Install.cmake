# What cmake --install puts where, and the packages that cpack makes of it. All of it can be moved as a whole.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# No folder of one distribution's own: the result is for many.
if(NOT DEFINED CACHE{Q7_LIBDIR})
  set(Q7_LIBDIR lib CACHE STRING "Folder of libraries below the installation's prefix")
endif()
set(cmake_folder ${Q7_LIBDIR}/cmake/Q7Plugin)
set(data_folder ${CMAKE_INSTALL_DATADIR}/q7plugin)
set(licence_folder ${CMAKE_INSTALL_DATADIR}/doc/q7plugin/licences)
file(RELATIVE_PATH libraries_from_programs /${CMAKE_INSTALL_BINDIR} /${Q7_LIBDIR})

install(TARGETS Q7Plugin EXPORT Q7Plugin
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${Q7_LIBDIR}
  ARCHIVE DESTINATION ${Q7_LIBDIR})
install(FILES src/api/q7plugin.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(minizip_is_private)
  install(FILES ${CMAKE_BINARY_DIR}/${minizip_file} DESTINATION ${Q7_LIBDIR})
endif()

foreach(tool q7-inspect q7-send q7-standin)
  if(TARGET ${tool})
    install(TARGETS ${tool} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  endif()
endforeach()

# The library's places in an installation and in the build. One run path for both: CMake would fill a shorter one
# up with empty elements, which name the current folder.
if(TARGET q7-send)
  set_target_properties(q7-send PROPERTIES BUILD_WITH_INSTALL_RPATH ON
    INSTALL_RPATH "$ORIGIN/${libraries_from_programs};$ORIGIN/..")
endif()

# MSVC's linker takes a library made of the list of exports; the other one is MinGW's.
find_program(Q7_DLLTOOL llvm-dlltool)
if(MINGW AND Q7_DLLTOOL)
  set(msvc_library ${CMAKE_BINARY_DIR}/Q7Plugin.lib)
  add_custom_command(OUTPUT ${msvc_library} VERBATIM
    COMMAND ${Q7_DLLTOOL} -m i386:x86-64 -d ${CMAKE_BINARY_DIR}/src/Q7Plugin.def -l ${msvc_library}
    DEPENDS ${CMAKE_BINARY_DIR}/src/Q7Plugin.def)
  add_custom_target(q7_msvc_library ALL DEPENDS ${msvc_library})
  install(FILES ${msvc_library} DESTINATION ${Q7_LIBDIR})
endif()

install(EXPORT Q7Plugin NAMESPACE Q7Plugin:: FILE Q7PluginTargets.cmake DESTINATION ${cmake_folder})
configure_package_config_file(cmake/Q7PluginConfig.cmake.in
  ${CMAKE_BINARY_DIR}/package/Q7PluginConfig.cmake INSTALL_DESTINATION ${cmake_folder}
  PATH_VARS Q7_LIBDIR NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/package/Q7PluginConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/package/Q7PluginConfig.cmake
  ${CMAKE_BINARY_DIR}/package/Q7PluginConfigVersion.cmake DESTINATION ${cmake_folder})

file(RELATIVE_PATH prefix_from_pc /${Q7_LIBDIR}/pkgconfig /)
configure_file(cmake/q7plugin.pc.in ${CMAKE_BINARY_DIR}/package/q7plugin.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/package/q7plugin.pc DESTINATION ${Q7_LIBDIR}/pkgconfig)

install(DIRECTORY bindings/python DESTINATION ${data_folder}
  PATTERN tests EXCLUDE PATTERN __pycache__ EXCLUDE PATTERN build EXCLUDE
  PATTERN *.egg-info EXCLUDE PATTERN .gitignore EXCLUDE)
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/q7plugin)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/q7plugin FILES_MATCHING
  PATTERN *.md PATTERN *.png PATTERN *.svg)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/q7plugin
  PATTERN tests EXCLUDE PATTERN __pycache__ EXCLUDE)

# q7_licence(NAME PACKAGE): the licence of something that is linked in, as its package or vcpkg's port NAME has it.
function(q7_licence name package)
  foreach(file ${Q7_MINIZIP_PREFIX}/share/doc/${package}/copyright /usr/share/doc/${package}/copyright
      ${VCPKG_INSTALLED_DIR}/${VCPKG_TARGET_TRIPLET}/share/${name}/copyright)
    if(EXISTS ${file})
      install(FILES ${file} DESTINATION ${licence_folder} RENAME ${name}.txt)
      return()
    endif()
  endforeach()
  message(STATUS "The licence of ${name} is not installed: there is no package ${package}")
endfunction()
q7_licence(nlohmann-json nlohmann-json3-dev)
q7_licence(cli11 libcli11-dev)
q7_licence(stb libstb-dev)
if(MINGW)
  q7_licence(gcc-runtime gcc-mingw-w64-x86-64-posix-runtime)
  q7_licence(mingw-w64-runtime mingw-w64-common)
  q7_licence(zlib libz-mingw-w64-dev)
else()
  q7_licence(zlib zlib1g-dev)
endif()
if(Q7_MINIZIP_ROUTE STREQUAL source)
  install(FILES ${Q7_MINIZIP_SOURCE}/LICENSE DESTINATION ${licence_folder} RENAME minizip-ng.txt)
elseif(minizip_is_private OR Q7_MINIZIP_ROUTE STREQUAL linked)
  q7_licence(minizip-ng libminizip-ng-dev)
endif()

set(CPACK_PACKAGE_NAME q7plugin)
set(CPACK_PACKAGE_VENDOR "Q7Plugin")
set(CPACK_PACKAGE_CONTACT "Q7Plugin developers <q7plugin@localhost>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_RESOURCE_FILE_README ${CMAKE_CURRENT_SOURCE_DIR}/README.md)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_LIST_DIR}/Q7PackageOptions.cmake)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/package)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME q7plugin-${PROJECT_VERSION}-windows-x64)
  # A zip library that would be loaded is not in the package.
  if(minizip_file)
    string(APPEND CPACK_PACKAGE_FILE_NAME -without-archives)
  endif()
else()
  set(CPACK_GENERATOR TGZ DEB)
  set(CPACK_PACKAGE_FILE_NAME q7plugin-${PROJECT_VERSION}-linux-x64)
  set(CPACK_DEBIAN_PACKAGE_SECTION libs)
  find_program(Q7_SHLIBDEPS dpkg-shlibdeps)
  if(Q7_SHLIBDEPS)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR})
  endif()
endif()
include(CPack)

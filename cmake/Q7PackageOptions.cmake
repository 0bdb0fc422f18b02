# Read by cpack for each kind of package.
if(CPACK_GENERATOR STREQUAL "DEB")
  # A folder of its own: the system may get its own minizip-ng one day.
  set(CPACK_PACKAGING_INSTALL_PREFIX /opt/q7plugin)
endif()

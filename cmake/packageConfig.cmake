# Read by cpack for each kind of package: only the RPM belongs below /usr.
if(NOT CPACK_GENERATOR STREQUAL "RPM")
    set(CPACK_PACKAGING_INSTALL_PREFIX "")
endif()

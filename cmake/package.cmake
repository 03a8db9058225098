# cpack: Debian packages, one a component. scripts/package makes them for the box and for the desk.
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL dev)
if(CPE_DM_CLIENT)
    list(APPEND CPACK_COMPONENTS_ALL client)
    set(CPE_DM_CLIENT_FILES $<TARGET_FILE:cpe_dm_client>)
endif()
if(NOT CPE_DM_PLATFORM_ROOT)
    list(APPEND CPACK_COMPONENTS_ALL standin)
    set(CPE_DM_STANDIN_FILES $<TARGET_FILE:zeb_cci> $<TARGET_FILE:zebservices> $<TARGET_FILE:diag>)
endif()
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # the first line of each description
set(CPACK_PACKAGE_CONTACT "CPE DM <cpe-dm@localhost>")
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_CLIENT_PACKAGE_NAME cpe-dm)
set(CPACK_DEBIAN_CLIENT_PACKAGE_SECTION comm)
set(CPACK_DEBIAN_CLIENT_PACKAGE_SUGGESTS cpe-dm-standin)
set(CPACK_COMPONENT_CLIENT_DESCRIPTION "Diagnostic monitor of an LTE/5G modem, test client
A console program that offers every operation of the diagnostic monitor, which
is part of it. It needs the platform's libraries libzeb_cci, libzebservices and
libdiag: the box has them, and cpe-dm-standin stands in for them at a desk.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libcpe-dm-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS libc6-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS "cpe-dm-standin, cmake, pkg-config")
set(CPACK_COMPONENT_DEV_DESCRIPTION "Diagnostic monitor of an LTE/5G modem, development files
The module's header and library, with a CMake package and a pkg-config file.")

set(CPACK_DEBIAN_STANDIN_PACKAGE_NAME cpe-dm-standin)
set(CPACK_DEBIAN_STANDIN_PACKAGE_SECTION comm)
set(CPACK_COMPONENT_STANDIN_DESCRIPTION "Diagnostic monitor of an LTE/5G modem, stand-in for the modem
Stands in for the platform's libraries on a desk: libzeb_cci, libzebservices
and libdiag with a virtual modem, their headers, and scenarios for it to play.
Not for a box, which has libraries of its own by these names.")

# On which versions of the C and C++ libraries the files depend is known once they are built: looked up when cpack runs.
file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/package/cpack.cmake CONTENT "set(CPE_DM_READELF \"${CMAKE_READELF}\")
set(CPE_DM_CLIENT_FILES \"${CPE_DM_CLIENT_FILES}\")
set(CPE_DM_STANDIN_FILES \"${CPE_DM_STANDIN_FILES}\")
include(\"${CMAKE_CURRENT_LIST_DIR}/package_depends.cmake\")
")
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_BINARY_DIR}/package/cpack.cmake)
include(CPack)

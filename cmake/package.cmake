# Debian packages, made by cpack, each with the files of one or more components. scripts/package runs cpack.
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # empty, so that the first line of each description is the summary
set(CPE_DM_PACKAGE_CONTACT "CPE DM <cpe-dm@cpe-dm.invalid>" CACHE STRING "Name and address of the packages' maintainer")
set(CPACK_PACKAGE_CONTACT ${CPE_DM_PACKAGE_CONTACT})
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# The version of a package that is built on the stand-in ends in ~standin. Debian takes the version without this ending,
# which a package for a box has, as the newer one.
set(CPACK_DEBIAN_PACKAGE_VERSION ${PROJECT_VERSION})
if(NOT CPE_DM_PLATFORM_ROOT)
    string(APPEND CPACK_DEBIAN_PACKAGE_VERSION ~standin)
endif()

# cpe_dm_package(GROUP PACKAGE SECTION COMPONENT...): defines a package made of these components, without those that
# have no files. GROUP is cpack's name for the package.
set(CPACK_COMPONENTS_ALL "")
set(CPE_DM_CPACK_DEPENDS "")
macro(cpe_dm_package group package section)
    string(TOUPPER ${group} CPE_DM_GROUP)
    set(CPACK_DEBIAN_${CPE_DM_GROUP}_PACKAGE_NAME ${package})
    set(CPACK_DEBIAN_${CPE_DM_GROUP}_PACKAGE_SECTION ${section})
    set(CPE_DM_FILES "")
    foreach(component ${ARGN})
        get_property(files GLOBAL PROPERTY CPE_DM_FILES_OF_${component})
        if(files OR component MATCHES "^(dev|service)$")
            list(APPEND CPACK_COMPONENTS_ALL ${component})
            list(APPEND CPE_DM_FILES ${files})
            string(TOUPPER ${component} component)
            set(CPACK_COMPONENT_${component}_GROUP ${group})
        endif()
    endforeach()
    if(CPE_DM_FILES)
        list(JOIN CPE_DM_FILES "\" \"" CPE_DM_FILES)
        string(APPEND CPE_DM_CPACK_DEPENDS
            "cpe_dm_depends(CPACK_DEBIAN_${CPE_DM_GROUP}_PACKAGE_DEPENDS \"${CPE_DM_FILES}\")\n")
    endif()
endmacro()

#              group   package        section    components
cpe_dm_package(box     cpe-dm         comm       client tool recorder service)
cpe_dm_package(lib     libcpe-dm1     libs       lib)
cpe_dm_package(dev     libcpe-dm-dev  libdevel   dev)
cpe_dm_package(standin cpe-dm-standin comm       standin)

set(CPACK_DEBIAN_BOX_PACKAGE_SUGGESTS cpe-dm-standin)
set(CPACK_DEBIAN_BOX_DESCRIPTION "Diagnostic monitor of an LTE/5G modem
The command cpe_dm, which tells how the modem is served and how well, with
units, as JSON, as an exit status or over time; a console program that offers
every operation of the diagnostic monitor; and a library to preload, which
records what passes between such a program and the modem. They need the
platform's libraries libzeb_cci, libzebservices and libdiag: the box has them,
and cpe-dm-standin stands in for them at a desk.")

set(CPACK_DEBIAN_LIB_PACKAGE_SUGGESTS cpe-dm-standin)
set(CPACK_DEBIAN_LIB_DESCRIPTION "Diagnostic monitor of an LTE/5G modem, shared library
The module for programs that link it as a shared library. It needs the
platform's libraries libzeb_cci, libzebservices and libdiag.")

set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS libc6-dev)
if(TARGET cpe_dm_shared)
    string(APPEND CPACK_DEBIAN_DEV_PACKAGE_DEPENDS ", libcpe-dm1 (= ${CPACK_DEBIAN_PACKAGE_VERSION})")
endif()
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS "cpe-dm-standin, cmake, pkg-config")
set(CPACK_DEBIAN_DEV_DESCRIPTION "Diagnostic monitor of an LTE/5G modem, development files
The module's headers and its library as an archive and for linking the shared
one, with a CMake package and pkg-config files.")

set(CPACK_DEBIAN_STANDIN_DESCRIPTION "Diagnostic monitor of an LTE/5G modem, stand-in for the modem
Stands in for the platform's libraries on a desk: libzeb_cci, libzebservices
and libdiag with a virtual modem, their headers, and scenarios for it to play;
and zeb_recording, which says what a recording from a box says.
Not for a box, which has libraries of its own by these names.")

# Control files for the packages whose libraries lie in a folder that the loader searches. `triggers` makes dpkg run
# ldconfig after an installation. `shlibs` names the package on which a program depends that links libcpe_dm.
file(WRITE ${PROJECT_BINARY_DIR}/package/triggers "activate-noawait ldconfig\n")
file(WRITE ${PROJECT_BINARY_DIR}/package/shlibs
    "libcpe_dm ${PROJECT_VERSION_MAJOR} libcpe-dm1 (>= ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}~)\n")
foreach(group BOX LIB STANDIN)
    set(CPACK_DEBIAN_${group}_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/package/triggers)
endforeach()
list(APPEND CPACK_DEBIAN_LIB_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/package/shlibs)
foreach(name conffiles postinst prerm)
    list(APPEND CPACK_DEBIAN_BOX_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/fleet/box/debian/${name})
endforeach()

# The versions of the C and C++ libraries that the files need are known only when the files are built. So they are
# looked up when cpack runs.
file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/package/cpack.cmake CONTENT "set(CPE_DM_READELF \"${CMAKE_READELF}\")
include(\"${CMAKE_CURRENT_LIST_DIR}/package_depends.cmake\")
${CPE_DM_CPACK_DEPENDS}")
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_BINARY_DIR}/package/cpack.cmake)
set(CPACK_CPE_DM_SOURCE_DIR ${PROJECT_SOURCE_DIR})
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/package_finish.cmake)
include(CPack)

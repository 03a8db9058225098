# The public header repeats the version, for builds without CMake. If its version is not that of project(), the
# configuration fails.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/dm/include/cpe_dm.h)
file(STRINGS ${PROJECT_SOURCE_DIR}/dm/include/cpe_dm.h CPE_DM_HEADER_VERSION REGEX "^#define CPE_DM_VERSION_")
string(REGEX REPLACE "#define CPE_DM_VERSION_([A-Z]+) +" "\\1 " CPE_DM_HEADER_VERSION "${CPE_DM_HEADER_VERSION}")
set(CPE_DM_PROJECT_VERSION "MAJOR ${PROJECT_VERSION_MAJOR}" "MINOR ${PROJECT_VERSION_MINOR}"
    "PATCH ${PROJECT_VERSION_PATCH}" "STRING \"${PROJECT_VERSION}\"")
if(NOT CPE_DM_HEADER_VERSION STREQUAL CPE_DM_PROJECT_VERSION)
    message(FATAL_ERROR "CPE_DM_VERSION_... in dm/include/cpe_dm.h is ${CPE_DM_HEADER_VERSION}, "
        "and project() in CMakeLists.txt says ${CPE_DM_PROJECT_VERSION}")
endif()

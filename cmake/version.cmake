# The public header names the version for those who build without CMake; project() says which it is.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/dm/include/cpe_dm.h)
file(READ ${PROJECT_SOURCE_DIR}/dm/include/cpe_dm.h CPE_DM_HEADER)
foreach(define "MAJOR +${PROJECT_VERSION_MAJOR}" "MINOR +${PROJECT_VERSION_MINOR}" "PATCH +${PROJECT_VERSION_PATCH}"
        "STRING +\"${PROJECT_VERSION}\"")
    if(NOT CPE_DM_HEADER MATCHES "#define CPE_DM_VERSION_${define}\n")
        message(FATAL_ERROR "dm/include/cpe_dm.h: the version is ${PROJECT_VERSION} by project() in CMakeLists.txt, "
            "and the header has no #define CPE_DM_VERSION_${define}")
    endif()
endforeach()

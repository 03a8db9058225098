# The platform's own libraries, from CPE_DM_PLATFORM_ROOT.
add_library(cpe_dm_platform_headers INTERFACE)
target_include_directories(cpe_dm_platform_headers SYSTEM INTERFACE ${CPE_DM_PLATFORM_ROOT}/include)

foreach(lib zeb_cci zebservices diag)
    find_library(CPE_DM_LIB_${lib} ${lib} PATHS ${CPE_DM_PLATFORM_ROOT}/lib NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    add_library(${lib} SHARED IMPORTED)
    set_target_properties(${lib} PROPERTIES IMPORTED_LOCATION ${CPE_DM_LIB_${lib}})
endforeach()

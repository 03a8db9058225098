# The platform's own libraries, from CPE_DM_PLATFORM_ROOT. Nothing is stored in the cache, so that another root takes
# effect at the next configuration.
set(CPE_DM_PLATFORM_LIBS zeb_cci zebservices diag)
set(CPE_DM_MISSING "")
foreach(header zeb_cci.h zeb_nas_v01.h diag_msg.h)
    if(NOT EXISTS ${CPE_DM_PLATFORM_ROOT}/include/${header})
        string(APPEND CPE_DM_MISSING "\n  there is no ${header} in ${CPE_DM_PLATFORM_ROOT}/include")
    endif()
endforeach()
foreach(lib ${CPE_DM_PLATFORM_LIBS})
    if(NOT EXISTS ${CPE_DM_PLATFORM_ROOT}/lib/lib${lib}.so)
        string(APPEND CPE_DM_MISSING "\n  there is no lib${lib}.so in ${CPE_DM_PLATFORM_ROOT}/lib")
    endif()
endforeach()
if(CPE_DM_MISSING)
    message(FATAL_ERROR "CPE_DM_PLATFORM_ROOT is not a platform's root:${CPE_DM_MISSING}")
endif()

add_library(cpe_dm_platform_headers INTERFACE)
target_include_directories(cpe_dm_platform_headers SYSTEM INTERFACE ${CPE_DM_PLATFORM_ROOT}/include)

# IMPORTED_NO_SONAME makes CMake link the libraries by name (-lzeb_cci). A library without a soname that is linked by
# its path would make the program ask the loader for this path of the build machine. The linker finds the libraries that
# these libraries need in the same folder (-rpath-link).
foreach(lib ${CPE_DM_PLATFORM_LIBS})
    add_library(${lib} SHARED IMPORTED)
    set_target_properties(${lib} PROPERTIES
        IMPORTED_LOCATION ${CPE_DM_PLATFORM_ROOT}/lib/lib${lib}.so
        IMPORTED_NO_SONAME ON
        INTERFACE_LINK_OPTIONS LINKER:-rpath-link,${CPE_DM_PLATFORM_ROOT}/lib)
endforeach()

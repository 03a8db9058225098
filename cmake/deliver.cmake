# What is built to be delivered: what it looks for, and in which component it is installed. Of the components
# cmake/package.cmake makes packages.
include(GNUInstallDirs)

# The build folder has the stand-in's libraries where an installed tree has them, seen from a program's folder, so that
# one RUNPATH is right in both. Where CMake has to write another one at installation it keeps room for that in the build
# folder's, and this ends in an empty entry, which is the current folder.
file(RELATIVE_PATH CPE_DM_BIN_TO_LIB ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
if(CPE_DM_BIN_TO_LIB MATCHES "^\\.\\./[^.]")
    set(CPE_DM_RUNPATH $ORIGIN/${CPE_DM_BIN_TO_LIB})
    get_filename_component(CPE_DM_LIBRARY_DIR ${PROJECT_BINARY_DIR}/bin/${CPE_DM_BIN_TO_LIB} ABSOLUTE)
else() # not side by side: only what is installed finds the stand-in by itself
    set(CPE_DM_RUNPATH ${CMAKE_INSTALL_FULL_LIBDIR})
    set(CPE_DM_LIBRARY_DIR ${PROJECT_BINARY_DIR}/lib)
endif()

# cpe_dm_deliver(COMPONENT TARGET...): programs and shared libraries of this component. A program gets a RUNPATH that leads
# to the stand-in, unless it is built for a platform of its own, or CMAKE_SKIP_INSTALL_RPATH is on, as for packages.
function(cpe_dm_deliver component)
    foreach(target ${ARGN})
        set_target_properties(${target} PROPERTIES BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "")
        get_target_property(type ${target} TYPE)
        if(type STREQUAL EXECUTABLE AND NOT CPE_DM_PLATFORM_ROOT)
            set_target_properties(${target} PROPERTIES INSTALL_RPATH ${CPE_DM_RUNPATH}
                RUNTIME_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
        endif()
        if(CPE_DM_INSTALL)
            install(TARGETS ${target} RUNTIME COMPONENT ${component}
                LIBRARY COMPONENT ${component} NAMELINK_COMPONENT dev)
            set_property(GLOBAL APPEND PROPERTY CPE_DM_FILES_OF_${component} $<TARGET_FILE:${target}>)
        endif()
    endforeach()
endfunction()

# cpe_dm_deliver() installs the programs and shared libraries that are delivered, and sets where they look for the
# stand-in. cmake/package.cmake makes packages of the components with which they are installed.
include(GNUInstallDirs)

# The path from a program's folder to the stand-in's libraries is the same in the build folder and in an installed tree,
# so that a program has the same RUNPATH in both. If the installed RUNPATH were the longer one, CMake would pad the one
# in the build folder with colons. The empty entries between the colons make the loader look in the current folder.
file(RELATIVE_PATH CPE_DM_BIN_TO_LIB ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
if(CPE_DM_BIN_TO_LIB MATCHES "^\\.\\./[^.]")
    set(CPE_DM_RUNPATH $ORIGIN/${CPE_DM_BIN_TO_LIB})
    get_filename_component(CPE_DM_LIBRARY_DIR ${PROJECT_BINARY_DIR}/bin/${CPE_DM_BIN_TO_LIB} ABSOLUTE)
else() # bin and lib are not side by side: only installed programs find the stand-in by themselves
    set(CPE_DM_RUNPATH ${CMAKE_INSTALL_FULL_LIBDIR})
    set(CPE_DM_LIBRARY_DIR ${PROJECT_BINARY_DIR}/lib)
endif()

# cpe_dm_deliver(COMPONENT TARGET...): installs these programs and shared libraries with this component. A program gets
# a RUNPATH that leads to the stand-in, except when it is built with CPE_DM_PLATFORM_ROOT. With
# CMAKE_SKIP_INSTALL_RPATH, which scripts/package sets, the installed program has no RUNPATH.
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

# Programs and shared libraries that are delivered: where they look for the stand-in, and with which component they are
# installed. cmake/package.cmake makes packages of the components.
include(GNUInstallDirs)

# The stand-in's libraries lie at the same place in the build folder as in an installed tree, seen from a program's
# folder. So one RUNPATH is right in both. If the two RUNPATHs differed, CMake would have to write another one at
# installation, and would reserve room for it in the build folder's RUNPATH. This room ends in an empty entry, which
# stands for the current folder.
file(RELATIVE_PATH CPE_DM_BIN_TO_LIB ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
if(CPE_DM_BIN_TO_LIB MATCHES "^\\.\\./[^.]")
    set(CPE_DM_RUNPATH $ORIGIN/${CPE_DM_BIN_TO_LIB})
    get_filename_component(CPE_DM_LIBRARY_DIR ${PROJECT_BINARY_DIR}/bin/${CPE_DM_BIN_TO_LIB} ABSOLUTE)
else() # the two folders are not side by side: only installed programs find the stand-in by themselves
    set(CPE_DM_RUNPATH ${CMAKE_INSTALL_FULL_LIBDIR})
    set(CPE_DM_LIBRARY_DIR ${PROJECT_BINARY_DIR}/lib)
endif()

# cpe_dm_deliver(COMPONENT TARGET...): delivers these programs and shared libraries with this component. A program gets
# a RUNPATH that leads to the stand-in, except when it is built for a platform of its own. With
# CMAKE_SKIP_INSTALL_RPATH, as for packages, the installed program has no RUNPATH.
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

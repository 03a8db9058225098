# cmake --install, in components: `client`, `dev` (header, library, CMake package, pkg-config file) and `standin` (the
# platform's libraries for the desk, with headers and scenarios); `recorder` is installed in its own folder.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# The folders of the tree, seen from one another, so that it works wherever it is moved.
file(RELATIVE_PATH CPE_DM_BIN_TO_LIB ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH CPE_DM_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" CPE_DM_PC_TO_PREFIX ${CPE_DM_PC_TO_PREFIX})
set(CPE_DM_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/cpe_dm)

if(CPE_DM_CLIENT)
    if(NOT CPE_DM_PLATFORM_ROOT)
        set_target_properties(cpe_dm_client PROPERTIES INSTALL_RPATH $ORIGIN/${CPE_DM_BIN_TO_LIB})
    endif()
    install(TARGETS cpe_dm_client RUNTIME COMPONENT client)
endif()

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/cpe_dm-config.cmake.in
    ${PROJECT_BINARY_DIR}/package/cpe_dm-config.cmake
    INSTALL_DESTINATION ${CPE_DM_CMAKE_DIR} PATH_VARS CMAKE_INSTALL_INCLUDEDIR CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/cpe_dm-config-version.cmake
    COMPATIBILITY SameMajorVersion)
configure_file(${CMAKE_CURRENT_LIST_DIR}/cpe_dm.pc.in ${PROJECT_BINARY_DIR}/package/cpe_dm.pc @ONLY)

install(FILES ${PROJECT_SOURCE_DIR}/dm/include/cpe_dm.h ${PROJECT_SOURCE_DIR}/dm/include/cpe_dm_text.h
    TYPE INCLUDE COMPONENT dev)
install(TARGETS cpe_dm_archive ARCHIVE COMPONENT dev)
install(FILES ${PROJECT_BINARY_DIR}/package/cpe_dm-config.cmake
    ${PROJECT_BINARY_DIR}/package/cpe_dm-config-version.cmake
    DESTINATION ${CPE_DM_CMAKE_DIR} COMPONENT dev)
install(FILES ${PROJECT_BINARY_DIR}/package/cpe_dm.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

if(NOT CPE_DM_PLATFORM_ROOT)
    install(TARGETS zeb_cci zebservices diag LIBRARY COMPONENT standin)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/include/ TYPE INCLUDE COMPONENT standin)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/scenarios
        DESTINATION ${CMAKE_INSTALL_DATADIR}/cpe_dm COMPONENT standin)
    install(FILES ${PROJECT_SOURCE_DIR}/docs/scenarios.md TYPE DOC COMPONENT standin)
endif()

# The components of cmake --install:
#   client    the test client, with its manual page
#   tool      cpe_dm, with its manual page and its completion for bash
#   recorder  the library that is preloaded to record what passes between a program and the platform
#   service   the service that reports a box's values to the monitoring of many boxes
#   lib       the module as a shared library
#   dev       public headers, static library, the link libcpe_dm.so to the shared library, CMake package, pkg-config files
#   standin   the platform's libraries for the desk, with headers and scenarios, and zeb_recording
# The folders that build programs and shared libraries also install them, with cmake/deliver.cmake, and fleet/ installs
# the service. All other files are installed here.
include(CMakePackageConfigHelpers)

# Paths within the installed tree. They are relative, so that the tree can be moved.
file(RELATIVE_PATH CPE_DM_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" CPE_DM_PC_TO_PREFIX ${CPE_DM_PC_TO_PREFIX})
set(CPE_DM_SHARED_NAME libcpe_dm.so.${PROJECT_VERSION_MAJOR})
set(CPE_DM_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/cpe_dm)

if(CPE_DM_CLIENT)
    install(FILES ${PROJECT_SOURCE_DIR}/docs/man/cpe_dm_client.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT client)
endif()
if(CPE_DM_TOOL)
    install(FILES ${PROJECT_SOURCE_DIR}/tool/cpe_dm.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
    install(FILES ${PROJECT_SOURCE_DIR}/tool/cpe_dm.bash RENAME cpe_dm
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tool)
endif()

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/cpe_dm-config.cmake.in
    ${PROJECT_BINARY_DIR}/package/cpe_dm-config.cmake
    INSTALL_DESTINATION ${CPE_DM_CMAKE_DIR} PATH_VARS CMAKE_INSTALL_INCLUDEDIR CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/cpe_dm-config-version.cmake
    COMPATIBILITY SameMajorVersion)
foreach(name cpe_dm cpe_dm_shared)
    configure_file(${CMAKE_CURRENT_LIST_DIR}/${name}.pc.in ${PROJECT_BINARY_DIR}/package/${name}.pc @ONLY)
endforeach()

install(DIRECTORY ${PROJECT_SOURCE_DIR}/dm/include/ TYPE INCLUDE COMPONENT dev)
install(TARGETS cpe_dm_archive ARCHIVE COMPONENT dev)
install(FILES ${PROJECT_BINARY_DIR}/package/cpe_dm-config.cmake
    ${PROJECT_BINARY_DIR}/package/cpe_dm-config-version.cmake
    DESTINATION ${CPE_DM_CMAKE_DIR} COMPONENT dev)
install(FILES ${PROJECT_BINARY_DIR}/package/cpe_dm.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
if(TARGET cpe_dm_shared)
    install(FILES ${PROJECT_BINARY_DIR}/package/cpe_dm_shared.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endif()

if(NOT CPE_DM_PLATFORM_ROOT)
    install(FILES ${PROJECT_SOURCE_DIR}/docs/man/zeb_recording.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
        COMPONENT standin)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/include/ TYPE INCLUDE COMPONENT standin)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/scenarios
        DESTINATION ${CMAKE_INSTALL_DATADIR}/cpe_dm COMPONENT standin)
    install(FILES ${PROJECT_SOURCE_DIR}/docs/scenarios.md TYPE DOC COMPONENT standin)
endif()

# Run by cpack when the files of every package lie in a folder of their own. Adds what Debian wants in each package:
# changelog, lintian overrides, compressed manual pages.
file(GLOB groups RELATIVE ${CPACK_TEMPORARY_DIRECTORY} ${CPACK_TEMPORARY_DIRECTORY}/*)
foreach(group ${groups})
    set(folder ${CPACK_TEMPORARY_DIRECTORY}/${group})
    string(TOUPPER ${group} group)
    set(package ${CPACK_DEBIAN_${group}_PACKAGE_NAME})
    if(NOT package)
        continue() # this is no folder of a package
    endif()
    set(doc ${folder}${CPACK_PACKAGING_INSTALL_PREFIX}/share/doc/${package})
    file(MAKE_DIRECTORY ${doc})
    execute_process(COMMAND ${CPACK_CPE_DM_SOURCE_DIR}/scripts/debian-changelog ${package}
        ${CPACK_DEBIAN_PACKAGE_VERSION} ${CPACK_PACKAGE_CONTACT} OUTPUT_FILE ${doc}/changelog COMMAND_ERROR_IS_FATAL ANY)
    if(EXISTS ${CMAKE_CURRENT_LIST_DIR}/lintian/${package})
        file(COPY ${CMAKE_CURRENT_LIST_DIR}/lintian/${package}
            DESTINATION ${folder}${CPACK_PACKAGING_INSTALL_PREFIX}/share/lintian/overrides)
    endif()
    file(GLOB_RECURSE pages ${folder}${CPACK_PACKAGING_INSTALL_PREFIX}/share/man/*)
    execute_process(COMMAND gzip -9n ${doc}/changelog ${pages} COMMAND_ERROR_IS_FATAL ANY)
    # The permissions are set here, so that neither the umask nor the permissions of the sources matter.
    execute_process(COMMAND chmod -R u=rwX,go=rX ${folder} COMMAND_ERROR_IS_FATAL ANY)
endforeach()

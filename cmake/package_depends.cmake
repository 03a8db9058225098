# Run by cpack, as part of package/cpack.cmake in the build folder. Finds which versions of the C and C++ libraries the
# files of a package need, from the versions of the symbols that the files use. dpkg-shlibdeps does the same for
# programs of this machine, but does not know the libraries of another architecture.

# cpe_dm_depends(VARIABLE FILE...): sets the variable to the Depends field of a package with these programs and
# libraries.
function(cpe_dm_depends variable)
    execute_process(COMMAND ${CPE_DM_READELF} --version-info --wide ${ARGN} OUTPUT_VARIABLE versions
        COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "GLIBC_[0-9.]+" symbols "${versions}")
    list(SORT symbols COMPARE NATURAL ORDER DESCENDING)
    list(GET symbols 0 newest)
    string(REPLACE "GLIBC_" "" newest ${newest})
    set(depends "libc6 (>= ${newest})")
    # libstdc++6 has the version of the GCC release that it belongs to.
    string(REGEX MATCHALL "GLIBCXX_3\\.4\\.[0-9]+" symbols "${versions}")
    if(symbols)
        list(SORT symbols COMPARE NATURAL ORDER DESCENDING)
        list(GET symbols 0 newest)
        string(REGEX REPLACE ".*\\." "" newest ${newest})
        set(release 14) # the first GCC release that has the newest symbol; a pair is LAST-SYMBOL:RELEASE
        foreach(pair 32:13 30:12 29:11 28:10)
            string(REPLACE ":" ";" pair ${pair})
            list(GET pair 0 last)
            if(newest LESS_EQUAL last)
                list(GET pair 1 release)
            endif()
        endforeach()
        string(APPEND depends ", libgcc-s1, libstdc++6 (>= ${release})")
    endif()
    set(${variable} ${depends} PARENT_SCOPE)
endfunction()

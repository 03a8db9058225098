# Compiler options for every target of this project, and further options for client/, tool/, dm/ and recorder/.

# Hardening: checked variants of C library functions (_FORTIFY_SOURCE), stack canaries, position-independent programs,
# and an address table that the loader fills at the start and then makes read-only (relro). scripts/check-needed checks
# the delivered files for all of these. The checked functions are used only with optimisation. Builds with sanitizers
# are not hardened, since sanitizers find more.
if(CPE_DM_HARDENING AND NOT CPE_DM_SANITIZER)
    include(CheckCXXSourceCompiles)
    include(CheckPIESupported)
    check_pie_supported()
    add_compile_options(-fstack-protector-strong)
    add_link_options(LINKER:-z,relro,-z,now)
    if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug" AND NOT CPE_DM_COVERAGE)
        set(CMAKE_REQUIRED_FLAGS -O2)
        check_cxx_source_compiles("#if _FORTIFY_SOURCE < 2\n#error\n#endif\nint main() {}" CPE_DM_TOOLCHAIN_FORTIFIES)
        unset(CMAKE_REQUIRED_FLAGS)
        if(NOT CPE_DM_TOOLCHAIN_FORTIFIES)
            add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
        endif()
    endif()
endif()

add_library(cpe_dm_warnings INTERFACE)
if(CPE_DM_WARNINGS)
    target_compile_options(cpe_dm_warnings INTERFACE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wformat=2 -Wundef -Wcast-align
        -Wwrite-strings -Wnull-dereference -Wdouble-promotion -Wvla
        $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual -Wextra-semi>)
    # GCC 12 warns of its own std::string with -Wrestrict (GCC bug 105651).
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION MATCHES "^12\\.")
        target_compile_options(cpe_dm_warnings INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
    endif()
endif()
if(CPE_DM_WARNINGS_AS_ERRORS)
    target_compile_options(cpe_dm_warnings INTERFACE -Werror)
endif()

if(CPE_DM_SANITIZER)
    add_compile_options(-fsanitize=${CPE_DM_SANITIZER} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${CPE_DM_SANITIZER})
endif()

if(CPE_DM_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# For client/, tool/, dm/ and recorder/, which on a box need nothing but libc and the platform's libraries.
add_library(cpe_dm_plain INTERFACE)
target_link_libraries(cpe_dm_plain INTERFACE cpe_dm_warnings)
target_compile_options(cpe_dm_plain INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>)
# The delivered code is to be small. Its speed matters little, since most of the time is spent in the C library.
# Functions that a program does not call are left out of the program.
target_compile_options(cpe_dm_plain INTERFACE $<$<NOT:$<CONFIG:Debug>>:-Os -ffunction-sections -fdata-sections>)
target_link_options(cpe_dm_plain INTERFACE $<$<NOT:$<CONFIG:Debug>>:LINKER:--gc-sections>)
if(CPE_DM_COVERAGE)
    target_compile_options(cpe_dm_plain INTERFACE --coverage -fprofile-update=atomic)
    target_link_options(cpe_dm_plain INTERFACE --coverage)
endif()

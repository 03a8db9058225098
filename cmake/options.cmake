# What every target of this project is compiled with, and what client/ and dm/ are held to on top.

if(CPE_DM_IS_TOP AND NOT CMAKE_BUILD_TYPE STREQUAL "Debug" AND NOT CPE_DM_SANITIZER AND NOT CPE_DM_COVERAGE)
    add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
endif()

add_library(cpe_dm_warnings INTERFACE)
if(CPE_DM_WARNINGS_AS_ERRORS)
    target_compile_options(cpe_dm_warnings INTERFACE
        -Wall -Wextra -Werror -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wformat=2 -Wundef -Wcast-align
        -Wwrite-strings -Wnull-dereference -Wdouble-promotion -Wvla
        $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual -Wextra-semi>)
endif()

if(CPE_DM_SANITIZER)
    add_compile_options(-fsanitize=${CPE_DM_SANITIZER} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${CPE_DM_SANITIZER})
endif()

if(CPE_DM_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# client/ and dm/: plain code that needs libc and nothing more on the box.
add_library(cpe_dm_plain INTERFACE)
target_link_libraries(cpe_dm_plain INTERFACE cpe_dm_warnings)
target_compile_options(cpe_dm_plain INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>)
# As delivered it is to be small: what takes time here is the C library's, and what a program does not call is left out.
target_compile_options(cpe_dm_plain INTERFACE $<$<NOT:$<CONFIG:Debug>>:-Os -ffunction-sections -fdata-sections>)
target_link_options(cpe_dm_plain INTERFACE $<$<NOT:$<CONFIG:Debug>>:LINKER:--gc-sections>)
if(CPE_DM_COVERAGE)
    target_compile_options(cpe_dm_plain INTERFACE --coverage -fprofile-update=atomic)
    target_link_options(cpe_dm_plain INTERFACE --coverage)
endif()

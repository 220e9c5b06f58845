# One static library a folder, and tests beside it.
#
# Code includes its headers by their path from src/ ("ipp/IPPMessage.h"). src/ itself is on no
# include path: every library has an include root of its own, holding one link to its folder, and
# passes it on to those that link it. So a folder that includes what it does not link fails to build.

option(KORVANE_WARNINGS_AS_ERRORS "Treat warnings as errors" OFF)
option(KORVANE_FUZZERS "Build the fuzzers as well (needs clang)" OFF)

add_library(korvane_warnings INTERFACE)
target_compile_options(korvane_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
    -Woverloaded-virtual -Wold-style-cast -Wcast-align -Wformat=2
    # Records have defaults; naming some of their fields leaves the rest at theirs.
    -Wno-missing-field-initializers)
if(KORVANE_WARNINGS_AS_ERRORS)
    target_compile_options(korvane_warnings INTERFACE -Werror)
endif()

# What makes a flaw in the code harder to use: addresses that cannot be foreseen, tables of functions
# that cannot be overwritten, and an end at the first overflow that is noticed. In all builds that are
# optimized, so that an installation has it; a sanitizer has checks of its own.
set(KORVANE_HARDENED FALSE)
if(CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel)$"
        AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
    set(KORVANE_HARDENED TRUE)
    add_compile_options(-fPIE -fstack-protector-strong -fstack-clash-protection
        # A distribution may have set another level.
        -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
        add_compile_options(-fcf-protection)
    elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
        add_compile_options(-mbranch-protection=standard)
    endif()
    add_link_options(-pie LINKER:-z,relro,-z,now,-z,noexecstack)
endif()

# korvane_library(<folder under src> SOURCES ... [LINKS <public>...] [PRIVATE_LINKS <private>...])
# makes the target korvane_<folder>, slashes written as underscores. A folder of headers alone has no
# SOURCES.
function(korvane_library folder)
    cmake_parse_arguments(arg "" "" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
    string(REPLACE "/" "_" name ${folder})
    set(root ${CMAKE_BINARY_DIR}/include/${name})
    get_filename_component(parent ${root}/${folder} DIRECTORY)
    file(MAKE_DIRECTORY ${parent})
    file(CREATE_LINK ${CMAKE_SOURCE_DIR}/src/${folder} ${root}/${folder} SYMBOLIC)

    if(NOT arg_SOURCES)
        add_library(korvane_${name} INTERFACE)
        target_include_directories(korvane_${name} INTERFACE ${root})
        target_link_libraries(korvane_${name} INTERFACE ${arg_LINKS})
        return()
    endif()
    add_library(korvane_${name} STATIC ${arg_SOURCES})
    target_include_directories(korvane_${name} PUBLIC ${root})
    target_link_libraries(korvane_${name}
        PUBLIC ${arg_LINKS}
        PRIVATE ${arg_PRIVATE_LINKS} korvane_warnings)
endfunction()

# korvane_test(<name> [THREADED] SOURCES ... LINKS ...) makes one GoogleTest program and registers its
# cases. What runs on several threads is THREADED: these are the tests that the thread sanitizer is for.
add_custom_target(threaded_tests)
function(korvane_test name)
    cmake_parse_arguments(arg "THREADED" "" "SOURCES;LINKS" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE ${arg_LINKS} GTest::gmock GTest::gtest_main korvane_warnings)
    set(label unit)
    if(arg_THREADED)
        set(label unit-threaded)
        add_dependencies(threaded_tests ${name})
    endif()
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES LABELS ${label} TIMEOUT 120)
endfunction()

# korvane_fuzzer(<name> SOURCES ... LINKS ...) makes one libFuzzer program over fuzz/corpus/<name>;
# CTest runs it for a few seconds.
function(korvane_fuzzer name)
    cmake_parse_arguments(arg "" "" "SOURCES;LINKS" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE ${arg_LINKS} korvane_warnings)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    set(scratch ${CMAKE_CURRENT_BINARY_DIR}/${name}-corpus)
    file(MAKE_DIRECTORY ${scratch})
    add_test(NAME ${name} COMMAND ${name} -max_total_time=5 -timeout=10 -rss_limit_mb=2048
        -artifact_prefix=${CMAKE_CURRENT_BINARY_DIR}/${name}-
        ${scratch} ${CMAKE_CURRENT_SOURCE_DIR}/corpus/${name})
    set_tests_properties(${name} PROPERTIES LABELS fuzz TIMEOUT 120)
endfunction()

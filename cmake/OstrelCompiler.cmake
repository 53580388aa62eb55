# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

# Language level, visibility, warnings and sanitizers, the same for every target.

option(OSTREL_WERROR "Treat compiler warnings as errors" OFF)
option(OSTREL_SANITIZERS "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
option(OSTREL_THREAD_SANITIZER "Build with ThreadSanitizer" OFF)
option(OSTREL_HARDENED "Build with the checks of the C and C++ libraries" OFF)
option(OSTREL_COVERAGE "Count which lines and branches of the libraries are reached" OFF)
option(OSTREL_FUZZERS "Build the fuzz targets for libFuzzer, in place of the tests (needs Clang)" OFF)

if(OSTREL_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Build type" FORCE)
endif()

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

add_compile_options(-Wall -Wextra -Wpedantic)
if(OSTREL_WERROR)
    add_compile_options(-Werror)
endif()

add_compile_definitions(
    QT_DEPRECATED_WARNINGS
    QT_DISABLE_DEPRECATED_BEFORE=0x050f00
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_KEYWORDS
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_NO_URL_CAST_FROM_STRING
)

if(OSTREL_SANITIZERS)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()

if(OSTREL_HARDENED)
    add_compile_options(-D_GLIBCXX_ASSERTIONS -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3
        -ftrivial-auto-var-init=pattern)
endif()

if(OSTREL_THREAD_SANITIZER)
    add_compile_options(-fsanitize=thread)
    add_link_options(-fsanitize=thread)
endif()

# Counts what is reached of this folder, if the build counts. Only the libraries do: a program that is
# killed while it writes its counts would break them.
macro(ostrel_count_coverage)
    if(OSTREL_COVERAGE)
        add_compile_options(--coverage -fprofile-update=atomic)
    endif()
endmacro()

if(OSTREL_FUZZERS)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        message(FATAL_ERROR "OSTREL_FUZZERS needs Clang: configure with -DCMAKE_CXX_COMPILER=clang++")
    endif()
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# What is linked does not depend on the folder that it is built in.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# After a change inside the library, the programs need not be linked again.
set(CMAKE_LINK_DEPENDS_NO_SHARED ON)

find_program(OSTREL_CCACHE ccache)
if(OSTREL_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${CMAKE_COMMAND}" -E env
        CCACHE_SLOPPINESS=pch_defines,time_macros "${OSTREL_CCACHE}")
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # ccache follows precompiled headers by what this leaves in the preprocessor's output.
        add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:-fpch-preprocess>")
    else()
        # A precompiled header from the cache is older than the headers that it was made of.
        add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:SHELL:-Xclang -fno-pch-timestamp>")
    endif()
endif()

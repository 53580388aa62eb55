# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

# ostrel_add_test(NAME name SOURCES file... [CATALOGUE file]): builds a test program with
# Ostrel::TestingQt5, and adds it to CTest. What the program needs besides is added to the target NAME
# with target_link_libraries(). The simulator starts with the catalogue in this file, instead of its
# own.
function(ostrel_add_test)
    cmake_parse_arguments(PARSE_ARGV 0 test "" "NAME;CATALOGUE" "SOURCES")
    if(NOT test_NAME OR NOT test_SOURCES OR test_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR
            "Usage: ostrel_add_test(NAME name SOURCES file... [CATALOGUE file])")
    endif()
    add_executable(${test_NAME} ${test_SOURCES})
    set_target_properties(${test_NAME} PROPERTIES AUTOMOC ON)
    target_link_libraries(${test_NAME} PRIVATE Ostrel::TestingQt5)
    if(test_CATALOGUE)
        get_filename_component(catalogue "${test_CATALOGUE}" ABSOLUTE)
        target_compile_definitions(${test_NAME} PRIVATE "OSTREL_TESTING_CATALOGUE=\"${catalogue}\"")
    endif()
    add_test(NAME ${test_NAME} COMMAND ${test_NAME})
endfunction()

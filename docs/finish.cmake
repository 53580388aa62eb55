# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

# cmake -DXSLTPROC=PROGRAM -DHTML=FOLDER -P finish.cmake
# Writes the index of the search, from the pages, and removes what the pages do not use. Shows the
# members of a base class, which Doxygen would have a script show.

# Lists of pages and classes, for the help file alone.
file(REMOVE "${HTML}/annotated.html" "${HTML}/pages.html")

file(GLOB pages RELATIVE "${HTML}" "${HTML}/*.html")
list(FILTER pages EXCLUDE REGEX "^dir_|-members|_8h")
set(entries "")
foreach(page IN LISTS pages)
    file(READ "${HTML}/${page}" text)
    string(REGEX REPLACE
        " onclick=\"javascript:toggleInherit[^\"]*\"><img src=\"closed.png\" alt=\"-\"/>&#160;" ">"
        shown "${text}")
    if(NOT shown STREQUAL text)
        file(WRITE "${HTML}/${page}" "${shown}")
    endif()
    execute_process(
        COMMAND "${XSLTPROC}" --nonet --html --stringparam file "${page}"
            "${CMAKE_CURRENT_LIST_DIR}/search.xsl" "${HTML}/${page}"
        OUTPUT_VARIABLE output
        ERROR_VARIABLE errors # libxml2 also objects to an element with both an id and a name
        RESULT_VARIABLE failed
    )
    if(failed)
        message(FATAL_ERROR "${errors}")
    endif()
    string(APPEND entries "${output}")
endforeach()
string(REGEX REPLACE ",\n$" "\n" entries "${entries}")
file(WRITE "${HTML}/search/index.js" "const searchIndex = [\n${entries}];\n")

file(GLOB unused "${HTML}/*.png")
list(FILTER unused EXCLUDE REGEX "/((launcher|monitor)-[^/]*|trace)[.]png$") # pictures of our pages
list(APPEND unused "${HTML}/doxygen.css" "${HTML}/doxygen.svg" "${HTML}/tabs.css"
    "${HTML}/jquery.js" "${HTML}/dynsections.js")
file(REMOVE ${unused})

# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

# The one list of public headers. From it come what is installed, the headers that are named after
# their classes, and the types whose binary interface is kept.
#
# Each line is a header and, if another header is to be named after it, a class.
set(OSTREL_PUBLIC_HEADERS
    "common/DBus/types.h"
    "lib/Ostrel/control.h Control"
    "lib/Ostrel/debug_params.h DebugParams"
    "lib/Ostrel/error.h Error"
    "lib/Ostrel/export.h"
    "lib/Ostrel/task_invoker.h TaskInvoker"
    "lib/Ostrel/window_management.h WindowManagement"
)

set(OSTREL_FORWARDING_DIR "${CMAKE_CURRENT_BINARY_DIR}/forwarding")
set(OSTREL_PUBLIC_HEADER_NAMES "")

foreach(line IN LISTS OSTREL_PUBLIC_HEADERS)
    separate_arguments(words UNIX_COMMAND "${line}")
    list(POP_FRONT words header)
    get_filename_component(name "${header}" NAME)
    get_filename_component(folder "${header}" DIRECTORY)
    get_filename_component(folder "${folder}" NAME)
    list(APPEND OSTREL_PUBLIC_HEADER_NAMES "${name}")
    set(files "${header}")
    foreach(class IN LISTS words)
        set(OSTREL_FORWARDED "${folder}/${name}")
        set(forwarding "${OSTREL_FORWARDING_DIR}/${folder}/${class}")
        configure_file("${PROJECT_SOURCE_DIR}/cmake/forwarding_header.in" "${forwarding}" @ONLY)
        list(APPEND files "${forwarding}")
    endforeach()
    if(OSTREL_INSTALL)
        install(FILES ${files} COMPONENT development
            DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/ostrel-system-qt5/${folder}")
    endif()
endforeach()

# For scripts/abi, beside the library.
list(JOIN OSTREL_PUBLIC_HEADER_NAMES ", " OSTREL_PUBLIC_HEADER_NAMES)
configure_file("${PROJECT_SOURCE_DIR}/abi/public-headers.abignore.in" public-headers.abignore @ONLY)

# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

# Every bus name is made from one vendor prefix.

set(OSTREL_VENDOR_PREFIX "org.ostrel" CACHE STRING
    "Reverse-domain prefix of the service's bus names, two or more elements")

set(_element "[A-Za-z_][A-Za-z0-9_]*")
if(NOT OSTREL_VENDOR_PREFIX MATCHES "^${_element}(\\.${_element})+$")
    message(FATAL_ERROR
        "OSTREL_VENDOR_PREFIX is \"${OSTREL_VENDOR_PREFIX}\", which is no D-Bus name prefix: "
        "it takes two or more elements joined by dots, each of letters, digits and "
        "underscores and not beginning with a digit, as in org.ostrel")
endif()

# A bus name holds 255 characters at most; the longest interface and error names need the rest.
string(LENGTH "${OSTREL_VENDOR_PREFIX}" _length)
if(_length GREATER 200)
    message(FATAL_ERROR
        "OSTREL_VENDOR_PREFIX has ${_length} characters; more than 200 leave no room for the "
        "rest of a bus name")
endif()

set(OSTREL_SERVICE_NAME "${OSTREL_VENDOR_PREFIX}.Ostrel")
string(REPLACE "." "/" OSTREL_SERVICE_PATH "/${OSTREL_SERVICE_NAME}")

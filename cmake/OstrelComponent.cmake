# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

# ostrel_component(OPTION WHAT MODULE...): offers the option to build a part of the product that
# needs these modules of Qt. AUTO builds it if they are there. Sets OPTION_ENABLED.
function(ostrel_component option what)
    set(${option} AUTO CACHE STRING "Build ${what}: ON, OFF, or AUTO (if Qt's modules are there)")
    set_property(CACHE ${option} PROPERTY STRINGS AUTO ON OFF)
    set(value "${${option}}")
    set(enabled OFF)
    if(value STREQUAL "AUTO")
        find_package(Qt5 5.15 QUIET COMPONENTS ${ARGN})
        set(enabled ${Qt5_FOUND})
    elseif(value MATCHES "^(ON|YES|TRUE|Y|1)$")
        find_package(Qt5 5.15 REQUIRED COMPONENTS ${ARGN})
        set(enabled ON)
    elseif(NOT value MATCHES "^(OFF|NO|FALSE|N|0)$")
        message(FATAL_ERROR "${option} is \"${value}\", and not ON, OFF or AUTO")
    endif()
    if(NOT enabled)
        list(JOIN ARGN " " modules)
        message(STATUS "Without ${what} (${option}=${value}; Qt modules: ${modules})")
    endif()
    set(${option}_ENABLED ${enabled} PARENT_SCOPE)
endfunction()

# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

# What every library of the product has: public headers, a version, a list of exported symbols, and
# what a program needs to build against it, which is the CMake package and the pkg-config module.

include(CMakePackageConfigHelpers)

# ostrel_public_headers(LIBRARY LINE...): the one list of a library's public headers. From it come
# what is installed, the headers that are named after their classes, and the types whose binary
# interface is kept. Each line is a header and, if another header is to be named after it, a class.
#
# Sets OSTREL_FORWARDING_DIR, where the headers that are named after classes are.
function(ostrel_public_headers library)
    set(forwarding "${CMAKE_CURRENT_BINARY_DIR}/forwarding")
    set(OSTREL_PUBLIC_HEADER_NAMES "")
    foreach(line IN LISTS ARGN)
        separate_arguments(words UNIX_COMMAND "${line}")
        list(POP_FRONT words header)
        get_filename_component(name "${header}" NAME)
        get_filename_component(folder "${header}" DIRECTORY)
        string(REGEX REPLACE "^(common|lib)/" "" folder "${folder}")
        list(APPEND OSTREL_PUBLIC_HEADER_NAMES "${name}")
        set(files "${header}")
        foreach(class IN LISTS words)
            set(OSTREL_FORWARDED "${folder}/${name}")
            configure_file("${PROJECT_SOURCE_DIR}/cmake/forwarding_header.in"
                "${forwarding}/${folder}/${class}" @ONLY)
            list(APPEND files "${forwarding}/${folder}/${class}")
        endforeach()
        if(OSTREL_INSTALL)
            install(FILES ${files} COMPONENT development
                DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/${library}/${folder}")
        endif()
    endforeach()

    # For scripts/abi, beside the library.
    list(JOIN OSTREL_PUBLIC_HEADER_NAMES ", " OSTREL_PUBLIC_HEADER_NAMES)
    configure_file("${PROJECT_SOURCE_DIR}/abi/public-headers.abignore.in" public-headers.abignore
        @ONLY)
    set(OSTREL_FORWARDING_DIR "${forwarding}" PARENT_SCOPE)
endfunction()

# ostrel_library(LIBRARY NAME ...): makes the shared library LIBRARY available as Ostrel::NAME, and
# installs it as ostrel_package() does, which gets the other arguments. The folder has the file
# exports.map.
function(ostrel_library library name)
    set(exports "${CMAKE_CURRENT_SOURCE_DIR}/exports.map")
    set_target_properties(${library} PROPERTIES
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        LINK_DEPENDS "${exports}"
    )
    target_link_options(${library} PRIVATE
        "LINKER:--version-script=${exports}"
        # Qt keeps pointers to types and objects of the library until the process ends. When a
        # plugin that uses the library is unloaded, the library must stay loaded.
        LINKER:-z,nodelete)
    if(NOT OSTREL_SANITIZERS)
        target_link_options(${library} PRIVATE LINKER:--no-undefined)
    endif()
    ostrel_package(${library} ${name} ${ARGN})
endfunction()

# ostrel_package(LIBRARY NAME DESCRIPTION ... PACKAGES ... MODULES ... PRIVATE_MODULES ...
# [BEGIN ...] [END ...]): makes the target LIBRARY available as Ostrel::NAME, and installs it with the
# CMake package OstrelNAME, which needs the PACKAGES, and the pkg-config module LIBRARY, which needs
# the MODULES. Each of these is written as find_dependency() or pkg-config takes it. BEGIN and END
# are code of the CMake package.
function(ostrel_package library name)
    cmake_parse_arguments(PARSE_ARGV 2 library "" "DESCRIPTION;BEGIN;END"
        "PACKAGES;MODULES;PRIVATE_MODULES")
    add_library(Ostrel::${name} ALIAS ${library})
    target_include_directories(${library} PUBLIC
        "$<BUILD_INTERFACE:${OSTREL_FORWARDING_DIR}>"
        "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/${library}>"
    )
    target_compile_features(${library} PUBLIC cxx_std_17)
    set_target_properties(${library} PROPERTIES EXPORT_NAME ${name})

    if(NOT OSTREL_INSTALL)
        return()
    endif()
    set(package "Ostrel${name}")
    set(folder "${CMAKE_INSTALL_LIBDIR}/cmake/${package}")
    install(TARGETS ${library} EXPORT ${package}Targets
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        COMPONENT runtime
        NAMELINK_COMPONENT development
        ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        COMPONENT development
    )
    install(EXPORT ${package}Targets
        NAMESPACE Ostrel::
        DESTINATION "${folder}"
        COMPONENT development
    )
    list(TRANSFORM library_PACKAGES REPLACE "(.+)" "find_dependency(\\1)")
    list(JOIN library_PACKAGES "\n" OSTREL_DEPENDENCIES)
    set(OSTREL_PACKAGE "${package}")
    set(OSTREL_PACKAGE_BEGIN "${library_BEGIN}")
    set(OSTREL_PACKAGE_END "${library_END}")
    configure_package_config_file(
        "${PROJECT_SOURCE_DIR}/cmake/OstrelConfig.cmake.in"
        "${PROJECT_BINARY_DIR}/${package}Config.cmake"
        INSTALL_DESTINATION "${folder}"
    )
    write_basic_package_version_file(
        "${PROJECT_BINARY_DIR}/${package}ConfigVersion.cmake"
        COMPATIBILITY SameMajorVersion
    )
    install(FILES
        "${PROJECT_BINARY_DIR}/${package}Config.cmake"
        "${PROJECT_BINARY_DIR}/${package}ConfigVersion.cmake"
        DESTINATION "${folder}"
        COMPONENT development
    )

    # The module derives its prefix from its own path, so an installation can be moved.
    set(pkgconfig "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
    if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
        set(OSTREL_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
        set(OSTREL_PC_LIBDIR "${CMAKE_INSTALL_FULL_LIBDIR}")
        set(OSTREL_PC_INCLUDEDIR "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
    else()
        file(RELATIVE_PATH up "/${pkgconfig}" "/")
        string(REGEX REPLACE "/$" "" up "${up}")
        set(OSTREL_PC_PREFIX "\${pcfiledir}/${up}")
        set(OSTREL_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
        set(OSTREL_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
    endif()
    set(OSTREL_PC_NAME "${library}")
    set(OSTREL_PC_DESCRIPTION "${library_DESCRIPTION}")
    list(JOIN library_MODULES ", " OSTREL_PC_REQUIRES)
    list(JOIN library_PRIVATE_MODULES ", " OSTREL_PC_REQUIRES_PRIVATE)
    configure_file("${PROJECT_SOURCE_DIR}/cmake/library.pc.in"
        "${PROJECT_BINARY_DIR}/${library}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/${library}.pc"
        DESTINATION "${pkgconfig}"
        COMPONENT development
    )
endfunction()

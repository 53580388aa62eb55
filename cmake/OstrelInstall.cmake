# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

# What a program needs to build against the library, besides its public headers: the library itself,
# the CMake package and the pkg-config module.

include(CMakePackageConfigHelpers)

set(_package "${CMAKE_INSTALL_LIBDIR}/cmake/OstrelSystemQt5")

install(TARGETS ostrel-system-qt5 EXPORT OstrelSystemQt5Targets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    COMPONENT runtime
    NAMELINK_COMPONENT development
)

install(EXPORT OstrelSystemQt5Targets
    NAMESPACE Ostrel::
    DESTINATION "${_package}"
    COMPONENT development
)
configure_package_config_file(
    "${PROJECT_SOURCE_DIR}/cmake/OstrelSystemQt5Config.cmake.in"
    "${PROJECT_BINARY_DIR}/OstrelSystemQt5Config.cmake"
    INSTALL_DESTINATION "${_package}"
)
write_basic_package_version_file(
    "${PROJECT_BINARY_DIR}/OstrelSystemQt5ConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion
)
install(FILES
    "${PROJECT_BINARY_DIR}/OstrelSystemQt5Config.cmake"
    "${PROJECT_BINARY_DIR}/OstrelSystemQt5ConfigVersion.cmake"
    DESTINATION "${_package}"
    COMPONENT development
)

# The module derives its prefix from its own path, so an installation can be moved.
set(_pkgconfig "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
    set(OSTREL_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
    set(OSTREL_PC_LIBDIR "${CMAKE_INSTALL_FULL_LIBDIR}")
    set(OSTREL_PC_INCLUDEDIR "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
else()
    file(RELATIVE_PATH _up "/${_pkgconfig}" "/")
    string(REGEX REPLACE "/$" "" _up "${_up}")
    set(OSTREL_PC_PREFIX "\${pcfiledir}/${_up}")
    set(OSTREL_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
    set(OSTREL_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
configure_file("${PROJECT_SOURCE_DIR}/cmake/ostrel-system-qt5.pc.in"
    "${PROJECT_BINARY_DIR}/ostrel-system-qt5.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/ostrel-system-qt5.pc"
    DESTINATION "${_pkgconfig}"
    COMPONENT development
)

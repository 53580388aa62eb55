// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_EXPORT_H
#define OSTREL_EXPORT_H

#include <QtCore/qglobal.h>

/**
 * @file
 * Marks the classes that the library exports. Everything else is hidden.
 */

#if defined(OSTREL_BUILDING_LIBRARY)
#define OSTREL_EXPORT Q_DECL_EXPORT
#else
#define OSTREL_EXPORT Q_DECL_IMPORT
#endif

#endif

// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_HELP_H
#define TOOLS_HELP_H

#include <QtCore/QCommandLineParser>
#include <QtCore/QString>

// The help of a parser, with the name of the program in place of its path.
QString helpText(const QCommandLineParser &parser);

#endif

// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_TESTING_PROCESS_FOLDER_P_H
#define OSTREL_TESTING_PROCESS_FOLDER_P_H

#include <QtCore/QByteArray>

namespace Ostrel::Testing
{

// Returns the folder for all files of the process. The first call makes it. It is removed when the
// process ends, also by a signal.
QByteArray processFolder();

} // namespace Ostrel::Testing

#endif

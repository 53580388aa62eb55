// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "main.h"

#include "process_folder_p.h"

#include <QtCore/QFile>

namespace Ostrel::Testing
{

namespace
{

// The display server is reached through files of the user.
void keepDisplay()
{
    const QByteArray authority = qgetenv("HOME") + "/.Xauthority";
    if (!qEnvironmentVariableIsSet("XAUTHORITY") && QFile::exists(QFile::decodeName(authority))) {
        qputenv("XAUTHORITY", authority);
    }
    const QByteArray display = qgetenv("WAYLAND_DISPLAY");
    if (!display.isEmpty() && !display.startsWith('/')) {
        qputenv("WAYLAND_DISPLAY", qgetenv("XDG_RUNTIME_DIR") + '/' + display);
    }
}

} // namespace

bool isolate()
{
    static bool isIsolated = false;
    if (isIsolated) {
        return true;
    }
    isIsolated = true;
    keepDisplay();
    for (const char *variable : {"HOME", "TMPDIR", "XDG_RUNTIME_DIR"}) {
        qputenv(variable, processFolder());
    }
    for (const char *variable :
         {"XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"}) {
        qunsetenv(variable);
    }
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session");
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/system");
    return true;
}

} // namespace Ostrel::Testing

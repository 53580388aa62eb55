// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/receive_limit_p.h"

#include <QtCore/QLibrary>

#include <dlfcn.h>
#include <limits>

namespace Ostrel
{

#ifdef OSTREL_LIFT_RECEIVE_LIMIT
namespace
{

using SetLimit = void (*)(void *connection, long limit);

// The functions of the libdbus that QtDBus uses. This library is not linked to libdbus, and the
// process may have loaded another one.
class ReceiveLimits
{
public:
    void lift(void *connection) const
    {
        // Both or none: a connection that reaches either limit never reads again.
        if (m_setBytes != nullptr && m_setDescriptors != nullptr) {
            m_setBytes(connection, std::numeric_limits<long>::max());
            m_setDescriptors(connection, std::numeric_limits<long>::max());
        }
    }

private:
    static void *loadedQtDBus()
    {
        Dl_info info = {};
        dladdr(reinterpret_cast<void *>(&QDBusConnection::sessionBus), &info);
        return info.dli_fname == nullptr ? nullptr
                                         : dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
    }

    SetLimit find(const char *name) const
    {
        if (m_qtDBus == nullptr) {
            return nullptr;
        }
        // Searches QtDBus and the libraries that it is linked to.
        void *const linked = dlsym(m_qtDBus, name);
        if (linked == nullptr) {
            // QtDBus loads libdbus itself, in the same way.
            return reinterpret_cast<SetLimit>(QLibrary::resolve(QStringLiteral("dbus-1"), 3, name));
        }
        // If the program contains a libdbus of its own, QtDBus may use that one.
        return dlsym(RTLD_DEFAULT, name) == linked ? reinterpret_cast<SetLimit>(linked) : nullptr;
    }

    void *const m_qtDBus = loadedQtDBus();
    SetLimit m_setBytes = find("dbus_connection_set_max_received_size");
    SetLimit m_setDescriptors = find("dbus_connection_set_max_received_unix_fds");
};

} // namespace
#endif

void liftReceiveLimit([[maybe_unused]] const QDBusConnection &bus)
{
#ifdef OSTREL_LIFT_RECEIVE_LIMIT
    static const ReceiveLimits limits;

    if (void *connection = bus.internalPointer()) {
        limits.lift(connection);
    }
#endif
}

} // namespace Ostrel

# SPDX-FileCopyrightText: 2026 The libostrel authors
# SPDX-License-Identifier: LGPL-2.1-or-later

"""Mutants that no test can notice, as mutate.py prints them, each with the reason. One that is no
longer made, after a renaming, does no harm."""

EQUIVALENTS = {
    'error_dbus.cpp: return: return Error(Error::NoError, QString()); -> return {};':
        'that is the default constructor',
    'guarded_reader_p.h: condition: if (records.isDetached()) { -> if (!(records.isDetached())) {':
        'both branches empty the vector; they differ in what they copy and allocate',
    'outgoing_message_p.h: number: int m_replacements = 0; // how many values have been replaced -> '
    'int m_replacements = 1; // how many values have been replaced':
        'the number is only compared with earlier ones',
    'task_invoker_p.h: number: quint64 m_announcements = 0; -> quint64 m_announcements = 1;':
        'the number is only compared with others',
    'process_end.cpp: string: connection.disconnect(QString(), QString(), serviceName, '
    'QStringLiteral("Nothing"), -> connection.disconnect(QString(), QString(), serviceName, '
    'QStringLiteral("Nothingx"),':
        'any name will do: nothing is connected',
    # Mutants are built with assertions. The tests of a build without see these two.
    'control.cpp: return: return Error(Error::Failed, QStringLiteral("The reply has fewer than two '
    'arguments")); -> return {};':
        'the assertion before it ends the program',
    'control.cpp: string: return Error(Error::Failed, QStringLiteral("The reply has fewer than two '
    'arguments")); -> return Error(Error::Failed, QStringLiteral("The reply has fewer than two '
    'argumentsx"));':
        'the assertion before it ends the program',
    # A QtDBus that is linked to libdbus, as Debian's is, never gets to these.
    'receive_limit.cpp: return: return reinterpret_cast<SetLimit>(QLibrary::resolve(QStringLiteral('
    '"dbus-1"), 3, name)); -> return {};':
        'only a QtDBus that loads libdbus by itself needs it',
    'receive_limit.cpp: string: return reinterpret_cast<SetLimit>(QLibrary::resolve(QStringLiteral('
    '"dbus-1"), 3, name)); -> return reinterpret_cast<SetLimit>(QLibrary::resolve(QStringLiteral('
    '"dbus-1x"), 3, name));':
        'only a QtDBus that loads libdbus by itself needs it',
    'receive_limit.cpp: number: return reinterpret_cast<SetLimit>(QLibrary::resolve(QStringLiteral('
    '"dbus-1"), 3, name)); -> return reinterpret_cast<SetLimit>(QLibrary::resolve(QStringLiteral('
    '"dbus-1"), 4, name));':
        'only a QtDBus that loads libdbus by itself needs it',
    'process_lookup.cpp: arguments: return std::strncmp(text, mark.data(), mark.size()) == 0 ? text + '
    'mark.size() : text; -> return std::strncmp(mark.data(), text, mark.size()) == 0 ? text + '
    'mark.size() : text;':
        'only whether they are equal matters',
}

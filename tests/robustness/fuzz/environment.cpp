// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "environment.h"

#include "Ostrel/Testing/process_folder_p.h"
#include "require.h"

#include <QtCore/QCoreApplication>

#include <algorithm>
#include <array>
#include <iostream>
#include <string>
#include <vector>

namespace
{

std::vector<QByteArray> &expectedTexts()
{
    static std::vector<QByteArray> texts;
    return texts;
}

void judge(QtMsgType type, const QMessageLogContext & /*context*/, const QString &text)
{
    const QByteArray line = text.toLocal8Bit();
    const auto &expected = expectedTexts();
    const bool isExpected =
        std::any_of(expected.begin(), expected.end(),
                    [&line](const QByteArray &beginning) { return line.startsWith(beginning); });
    if (type != QtDebugMsg && type != QtInfoMsg && !isExpected) {
        std::cerr << "logged: " << line.constData() << std::endl;
        std::abort();
    }
}

} // namespace

void prepareProcess(std::initializer_list<const char *> expected)
{
    static bool isPrepared = false;
    if (isPrepared) {
        return;
    }
    isPrepared = true;
    static std::string name = "fuzzer";
    static std::array<char *, 2> arguments{name.data(), nullptr};
    static int count = 1;
    // The fuzzer exits without destroying anything.
    qputenv("TMPDIR", Ostrel::Testing::processFolder());
    // Without GLib's dispatcher, an execution takes half the time.
    qputenv("QT_NO_GLIB", "1");
    static auto *application = new QCoreApplication(count, arguments.data());
    require(application != nullptr, "the application is there");
    for (const char *text : expected) {
        expectedTexts().emplace_back(text);
    }
    qInstallMessageHandler(judge);
}

Peer &sharedPeer(std::initializer_list<const char *> expected)
{
    prepareProcess(expected);
    // Never destroyed: at the end of the process, parts of Qt may be gone.
    static Peer *peer = new Peer;
    return *peer;
}

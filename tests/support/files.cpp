// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"

#include <QtCore/QDirIterator>
#include <QtCore/QFile>

QString readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("cannot read %s", qPrintable(path));
    }
    return QString::fromUtf8(file.readAll());
}

void writeFile(const QString &path, const QString &text)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        qFatal("cannot write %s", qPrintable(path));
    }
    file.write(text.toUtf8());
}

QStringList filesBelow(const QString &folder)
{
    QStringList files;
    QDirIterator each(folder, QDir::Files | QDir::System | QDir::Hidden,
                      QDirIterator::Subdirectories);
    while (each.hasNext()) {
        files.append(each.next().mid(folder.size() + 1));
    }
    files.sort();
    return files;
}

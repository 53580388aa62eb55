// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FILES_TEST_H
#define TESTS_FILES_TEST_H

#include "file_actions.h"
#include "monitor_test.h"
#include "notice.h"

#include <QtCore/QTemporaryDir>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>

// Tests of what the window does with trace files, in a folder of their own.
class FilesTest : public MonitorTest
{
    Q_OBJECT

protected:
    TraceFiles &files() { return window().files(); }
    const WindowActions &actions() { return window().actions(); }

    QString path(const QString &name) const { return m_folder.filePath(name); }
    // The strips that are visible.
    QStringList notices()
    {
        QStringList texts;
        const QList<Notice *> all = window().findChildren<Notice *>();
        for (const Notice *notice : all) {
            if (notice->isVisible()) {
                texts.append(notice->text());
            }
        }
        return texts;
    }
    void clickNotice()
    {
        Notice *notice = window().fileActions().notice();
        QTest::mouseClick(notice->findChild<QPushButton *>(), Qt::LeftButton);
    }
    // Enters a file into the dialog that the action opens.
    void choose(const QAction *action, const QString &file)
    {
        press(action);
        auto *dialog = qobject_cast<QFileDialog *>(waitForDialog());
        // What is there is not asked for.
        dialog->setOption(QFileDialog::DontConfirmOverwrite);
        auto *name = dialog->findChild<QLineEdit *>("fileNameEdit");
        name->setText(file);
        QTest::keyClick(name, Qt::Key_Return);
        waitUntil([] { return QApplication::activeModalWidget() == nullptr; });
    }

private:
    QTemporaryDir m_folder;
};

#endif

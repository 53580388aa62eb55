// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_DEBUG_DIALOG_H
#define MONITOR_DEBUG_DIALOG_H

#include <Ostrel/DebugParams>

#include <QtWidgets/QDialog>

class QCheckBox;
class QLineEdit;
class QPlainTextEdit;

// Asks how an application is to be started for debugging. What is left empty is not sent.
class DebugDialog : public QDialog
{
    Q_OBJECT

public:
    DebugDialog(const QString &application, QWidget *parent);

    QString application() const;
    Ostrel::DebugParams params() const;

private:
    QLineEdit *m_application;
    QLineEdit *m_wrapper;
    QLineEdit *m_parameters;
    QPlainTextEdit *m_environment;
    QLineEdit *m_stdoutFile;
    QLineEdit *m_stderrFile;
    QCheckBox *m_withoutSandbox;
};

#endif

// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "debug_dialog.h"

#include <QtCore/QFileInfo>
#include <QtCore/QProcess>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QPushButton>

namespace
{

QLineEdit *addField(QFormLayout *form, const QString &label, const QString &example)
{
    auto *field = new QLineEdit;
    field->setPlaceholderText(example);
    form->addRow(label, field);
    return field;
}

// The service has a working folder of its own.
QString absoluteFile(const QLineEdit *field)
{
    return QFileInfo(field->text()).absoluteFilePath();
}

} // namespace

DebugDialog::DebugDialog(const QString &application, QWidget *parent)
    : QDialog(parent)
{
    setWindowTitle(tr("Start for debugging"));
    auto *form = new QFormLayout(this);
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    m_application = addField(form, tr("&Application:"), {});
    m_application->setText(application);
    m_wrapper = addField(form, tr("&Wrapper:"), QStringLiteral("gdbserver :4000"));
    m_parameters = addField(form, tr("&Parameters:"), QStringLiteral("--verbose"));
    m_environment = new QPlainTextEdit;
    m_environment->setPlaceholderText(tr("NAME=VALUE, one on a line"));
    m_environment->setTabChangesFocus(true);
    const int lines = 4;
    m_environment->setFixedHeight(lines * m_environment->fontMetrics().lineSpacing());
    form->addRow(tr("&Environment:"), m_environment);
    m_stdoutFile = addField(form, tr("Standard &output to:"), tr("a file"));
    m_stderrFile = addField(form, tr("Standard e&rror to:"), tr("a file"));
    m_withoutSandbox = new QCheckBox(tr("Without the &sandbox"));
    form->addRow(QString(), m_withoutSandbox);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    QPushButton *start = buttons->button(QDialogButtonBox::Ok);
    start->setText(tr("S&tart"));
    start->setDisabled(application.isEmpty());
    connect(m_application, &QLineEdit::textChanged, start,
            [start](const QString &text) { start->setDisabled(text.isEmpty()); });
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    form->addRow(buttons);
    (application.isEmpty() ? m_application : m_wrapper)->setFocus();
    const int columns = 60;
    resize(columns * fontMetrics().averageCharWidth(), sizeHint().height());
}

QString DebugDialog::application() const
{
    return m_application->text();
}

Ostrel::DebugParams DebugDialog::params() const
{
    Ostrel::DebugParams params;
    if (!m_wrapper->text().isEmpty()) {
        params.setApplicationWrapper(QProcess::splitCommand(m_wrapper->text()));
    }
    if (!m_parameters->text().isEmpty()) {
        params.setCommandLineParams(QProcess::splitCommand(m_parameters->text()));
    }
    if (!m_environment->toPlainText().isEmpty()) {
        params.setEnvironment(
            m_environment->toPlainText().split(QLatin1Char('\n'), Qt::SkipEmptyParts));
    }
    if (!m_stdoutFile->text().isEmpty()) {
        params.setStdoutFile(absoluteFile(m_stdoutFile));
    }
    if (!m_stderrFile->text().isEmpty()) {
        params.setStderrFile(absoluteFile(m_stderrFile));
    }
    if (m_withoutSandbox->isChecked()) {
        params.setSandboxEnabled(false);
    }
    return params;
}

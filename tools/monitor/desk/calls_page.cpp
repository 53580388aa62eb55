// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "desk/calls_page.h"

#include "desk/desk_calls.h"
#include "display.h"

#include "DBus/names_p.h"

#include <QtCore/QElapsedTimer>
#include <QtDBus/QDBusArgument>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QTreeWidget>

#include <deque>

namespace
{

constexpr size_t mostCalls = 500;
// The reply has the whole log, so a long log is asked for less often.
constexpr int shortestPause = 500;
constexpr int pausePerReply = 10;

struct LoggedCall
{
    QString path;
    QString interface;
    QString member;
    QString signature;
    QVariantList arguments;
};

LoggedCall readCall(const QDBusArgument &array)
{
    LoggedCall call;
    array.beginStructure();
    array >> call.path >> call.interface >> call.member >> call.signature >> call.arguments;
    array.endStructure();
    return call;
}

QTreeWidgetItem *itemOf(const LoggedCall &call, int number)
{
    QString interface = call.interface;
    if (interface.startsWith(QLatin1String(OSTREL_SERVICE_NAME "."))) {
        interface.remove(0, int(sizeof OSTREL_SERVICE_NAME));
    }
    QStringList values;
    for (const QVariant &value : call.arguments) {
        // As JSON, in which strings have quotation marks.
        values.append(value.userType() == QMetaType::QString
                          ? QLatin1Char('"') + shown(value) + QLatin1Char('"')
                          : shown(value));
    }
    auto *item = new QTreeWidgetItem(
        {QString::number(number),
         shown(QStringLiteral("%1.%2(%3)")
                   .arg(interface, call.member, values.join(QStringLiteral(", "))))});
    const Details details{{QObject::tr("Method"), call.interface + QLatin1Char('.') + call.member},
                          {QObject::tr("Object"), call.path},
                          {QObject::tr("Signature"), call.signature},
                          {QObject::tr("Values"), values.join(QStringLiteral(", "))}};
    for (int column = 0; column < item->columnCount(); ++column) {
        item->setToolTip(column, toolTip(details));
    }
    return item;
}

} // namespace

CallsPage::CallsPage(DeskCalls &calls)
    : m_calls(calls)
    , m_list(new QTreeWidget)
    , m_count(new QLabel)
    , m_live(new QCheckBox(tr("&Live")))
{
    m_list->setHeaderLabels({tr("#"), tr("Call")});
    m_list->setRootIsDecorated(false);
    m_list->setUniformRowHeights(true);
    m_list->setAlternatingRowColors(true);
    m_list->setTabKeyNavigation(false);
    m_list->setAccessibleName(tr("Calls that the service has received"));
    m_count->setTextFormat(Qt::PlainText);
    m_count->setWordWrap(true);
    m_live->setAccessibleName(tr("Live"));
    m_live->setToolTip(tr("Ask for the calls again and again"));
    m_live->setChecked(true);
    auto *refresh = new QPushButton(tr("&Refresh"));
    refresh->setToolTip(tr("Ask for the calls now"));
    auto *clear = new QPushButton(tr("&Clear"));
    clear->setToolTip(tr("Empty the log of the service"));

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_live);
    buttons->addStretch(1);
    buttons->addWidget(refresh);
    buttons->addWidget(clear);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->addLayout(buttons);
    layout->addWidget(m_list, 1);
    layout->addWidget(m_count);

    m_later.setSingleShot(true);
    connect(&m_later, &QTimer::timeout, this, [this] {
        if (isVisible() && m_live->isChecked()) {
            this->refresh();
        }
    });
    connect(m_live, &QCheckBox::toggled, this, [this](bool isLive) {
        if (isLive) {
            this->refresh();
        }
    });
    connect(refresh, &QPushButton::clicked, this, &CallsPage::refresh);
    connect(clear, &QPushButton::clicked, this, &CallsPage::clear);
    connect(&calls, &DeskCalls::stateChanged, this, [this] {
        m_isAsking = false;
        m_list->clear();
        m_count->clear();
        if (isVisible()) {
            this->refresh();
        }
    });
}

void CallsPage::showEvent(QShowEvent *event)
{
    refresh();
    QWidget::showEvent(event);
}

void CallsPage::refresh()
{
    if (m_isAsking || m_calls.state() != DeskCalls::Ready) {
        return;
    }
    m_isAsking = true;
    m_later.stop();
    QElapsedTimer clock;
    clock.start();
    m_calls.ask(QStringLiteral("Calls"), [this, clock](const QDBusMessage &reply) {
        m_isAsking = false;
        if (reply.type() == QDBusMessage::ReplyMessage) {
            show(reply);
        } else {
            // It would be refused again.
            m_live->setChecked(false);
            Q_EMIT m_calls.failed(tr("Cannot read the calls: %1").arg(reply.errorMessage()));
        }
        m_later.start(int(qMin<qint64>(qMax<qint64>(shortestPause, clock.elapsed() * pausePerReply),
                                       std::numeric_limits<int>::max())));
    });
}

void CallsPage::show(const QDBusMessage &reply)
{
    if (reply.signature() != QLatin1String("a(ssssav)")) {
        return;
    }
    const auto array = reply.arguments().constFirst().value<QDBusArgument>();
    std::deque<LoggedCall> newest;
    int count = 0;
    array.beginArray();
    while (!array.atEnd()) {
        newest.push_back(readCall(array));
        ++count;
        if (newest.size() > mostCalls) {
            newest.pop_front();
        }
    }
    array.endArray();
    m_list->clear();
    int number = count - int(newest.size());
    for (const LoggedCall &call : newest) {
        m_list->addTopLevelItem(itemOf(call, number++));
    }
    m_list->resizeColumnToContents(0);
    m_list->scrollToBottom();
    m_count->setText(count > int(mostCalls)
                         ? tr("The newest %1 of %2 calls").arg(mostCalls).arg(count)
                         : tr("Calls: %1").arg(count));
}

void CallsPage::clear()
{
    m_calls.call(tr("Cannot empty the log"), QStringLiteral("ClearCalls"), {},
                 [this](const QDBusMessage & /*reply*/) {
                     Q_EMIT m_calls.done(tr("The log of the calls is empty"));
                     refresh();
                 });
}

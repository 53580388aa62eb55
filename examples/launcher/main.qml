// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Controls.Material 2.15
import QtQuick.Layouts 1.15
import Ostrel 1.0

ApplicationWindow {
    id: window

    // What can be started: objects with id, title and description.
    property var catalogue: []
    property string taskType
    property string failure

    // The title of an application, if the catalogue has it.
    function titleOf(appId) {
        const known = catalogue.find(application => application.id === appId);
        return known ? known.title : appId;
    }

    // Why a list is empty.
    function hintOf(model, nothing) {
        switch (model.status) {
        case LiveModel.Loading:
            return qsTr("Waiting for the service …");
        case LiveModel.ServiceMissing:
            return qsTr("The service does not run.");
        case LiveModel.Failed:
            return model.error.message;
        default:
            return model.count === 0 ? nothing : "";
        }
    }

    // What every request calls at its end.
    function finish(what, result) {
        failure = result.code === LifecycleError.NoError
            ? "" : qsTr("%1: %2").arg(what).arg(result.message || result.name);
    }

    width: 1000
    height: 600
    visible: true
    title: qsTr("Launcher")
    Material.theme: Material.System
    Material.accent: Material.Blue
    // All colours are here and in Section.qml, so that it looks the same without OpenGL.
    background: Rectangle {
        color: Material.theme === Material.Dark ? "#14181d" : "#f4f6f9"
    }

    Applications {
        id: running
    }
    Tasks {
        id: tasks

        type: window.taskType
        bus: Tasks.SessionBus
    }

    ScrollView {
        id: page

        anchors.fill: parent
        padding: 16
        contentWidth: availableWidth

        GridLayout {
            id: sections

            width: page.availableWidth
            columns: page.availableWidth >= 690 ? 2 : 1
            columnSpacing: 16
            rowSpacing: 16

            Section {
                title: qsTr("Applications")
                Layout.rowSpan: sections.columns
                // Both columns are of the same width.
                Layout.preferredWidth: 1

                Repeater {
                    model: window.catalogue

                    Entry {
                        required property var modelData

                        title: modelData.title
                        detail: modelData.description
                        hasState: false
                        action: qsTr("Start")
                        onTriggered: Lifecycle.start(modelData.id, (result) => {
                            window.finish(title, result);
                        })
                    }
                }
            }
            Section {
                title: qsTr("Running")
                hint: window.hintOf(running, qsTr("Nothing runs. Start an application."))
                Layout.preferredWidth: 1

                Repeater {
                    model: running

                    Entry {
                        required property var model
                        // The service may leave it out.
                        readonly property string instance: model.properties.InstanceId || ""

                        title: window.titleOf(model.appId)
                        detail: qsTr("%1\nprocess %2, state %3 since %4")
                            .arg(instance || model.appId).arg(model.pid).arg(model.state)
                            .arg(Qt.formatTime(model.since, "hh:mm"))
                        isActive: true
                        action: instance ? qsTr("Terminate") : ""
                        onTriggered: Lifecycle.terminate(instance, (result) => {
                            window.finish(title, result);
                        })
                    }
                }
            }
            Section {
                title: qsTr("Tasks")
                hint: window.hintOf(tasks, qsTr("There are no tasks of the type “%1”.")
                    .arg(window.taskType))
                Layout.preferredWidth: 1

                Repeater {
                    model: tasks

                    Entry {
                        required property var model

                        title: model.name
                        detail: model.active ? qsTr("Active, process %1").arg(model.pid)
                            : model.availableProperties.Description || ""
                        isActive: model.active
                        action: model.active ? qsTr("Stop") : qsTr("Start")
                        onTriggered: {
                            const finish = (result) => window.finish(title, result);
                            if (model.active) {
                                Lifecycle.stopTask(tasks, title, finish);
                            } else {
                                Lifecycle.startTask(tasks, title, {}, {}, finish);
                            }
                        }
                    }
                }
            }
        }
    }

    footer: Pane {
        visible: window.failure !== ""
        padding: 8
        background: Rectangle {
            color: Material.dialogColor
        }

        RowLayout {
            anchors.fill: parent

            Label {
                text: window.failure
                color: Material.color(Material.Red)
                wrapMode: Text.Wrap
                leftPadding: 8
                Layout.fillWidth: true
            }
            Button {
                text: qsTr("Dismiss")
                flat: true
                onClicked: window.failure = ""
            }
        }
    }
}

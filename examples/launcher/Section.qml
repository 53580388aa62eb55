// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Controls.Material 2.15
import QtQuick.Layouts 1.15

// A titled list, and a line that says why it is empty.
Pane {
    id: section

    property string title
    property string hint
    default property alias entries: column.data

    padding: 16
    rightPadding: 8
    background: Rectangle {
        radius: 8
        color: Material.theme === Material.Dark ? "#1d232b" : "#ffffff"
        border.color: Material.theme === Material.Dark ? "#38424e" : "#d5dce4"
    }
    Layout.fillWidth: true
    Layout.alignment: Qt.AlignTop

    ColumnLayout {
        id: column

        anchors.left: parent.left
        anchors.right: parent.right
        spacing: 0

        Label {
            text: section.title
            font.pixelSize: 18
            font.weight: Font.Medium
            bottomPadding: 6
        }
        Label {
            text: section.hint
            visible: text !== ""
            color: Material.secondaryTextColor
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
    }
}

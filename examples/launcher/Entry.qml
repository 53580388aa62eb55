// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Controls.Material 2.15
import QtQuick.Layouts 1.15

// A line with a title, what there is to say about it, and a button.
RowLayout {
    id: entry

    property string title
    property string detail
    property string action
    property bool isActive: false
    property bool hasState: true

    signal triggered

    spacing: 12
    Layout.fillWidth: true

    Rectangle {
        implicitWidth: 10
        implicitHeight: 10
        radius: 5
        visible: entry.hasState
        color: entry.isActive ? Material.color(Material.Green) : "transparent"
        border.color: entry.isActive ? color : Material.hintTextColor
    }
    ColumnLayout {
        spacing: 2
        Layout.fillWidth: true
        Layout.topMargin: 6
        Layout.bottomMargin: 6

        Label {
            text: entry.title
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        Label {
            text: entry.detail
            visible: text !== ""
            color: Material.secondaryTextColor
            font.pixelSize: 12
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
    }
    Button {
        text: entry.action
        flat: true
        highlighted: true
        visible: text !== ""
        font.capitalization: Font.MixedCase
        Accessible.name: entry.action + " " + entry.title
        onClicked: entry.triggered()
    }
}

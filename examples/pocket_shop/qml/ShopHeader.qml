import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

// The bar above a page: the way back, where there is one, and what the page is.
ToolBar {
    id: header

    property string title
    property bool canGoBack: true

    implicitHeight: 56
    background: Rectangle {
        color: Theme.ground
        Rectangle {
            width: parent.width
            height: 1
            anchors.bottom: parent.bottom
            color: Theme.line
        }
    }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: header.canGoBack ? 4 : Theme.gap
        anchors.rightMargin: Theme.gap
        spacing: 4

        ToolButton {
            objectName: "backButton"
            visible: header.canGoBack
            background: null
            icon.source: "../images/icon_back.png"
            icon.width: 22
            icon.height: 22
            icon.color: Theme.accent
            Accessible.name: qsTr("Back")
            onClicked: ApplicationWindow.window.back()
        }
        Label {
            Layout.fillWidth: true
            text: header.title
            font.pixelSize: Theme.large
            font.weight: Font.DemiBold
            color: Theme.ink
            elide: Text.ElideRight
        }
    }
}

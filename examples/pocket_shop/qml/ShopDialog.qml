import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import QtQuick.Templates as T

// Asks before something is done that can't be undone.
Dialog {
    id: dialog

    property string question
    property string yes

    parent: T.Overlay.overlay
    anchors.centerIn: parent
    width: 310
    modal: true
    padding: 20
    T.Overlay.modal: Rectangle { color: "#66000000" }
    background: Rectangle {
        radius: Theme.corner
        color: Theme.card
    }

    contentItem: ColumnLayout {
        spacing: Theme.gap

        Label {
            Layout.fillWidth: true
            text: dialog.question
            wrapMode: Text.WordWrap
            font.pixelSize: Theme.normal
            color: Theme.ink
        }
        RowLayout {
            spacing: 12
            ShopButton {
                objectName: "dialogNo"
                Layout.fillWidth: true
                quiet: true
                text: qsTr("Cancel")
                onClicked: dialog.reject()
            }
            ShopButton {
                objectName: "dialogYes"
                Layout.fillWidth: true
                tint: Theme.danger
                text: dialog.yes
                onClicked: dialog.accept()
            }
        }
    }
}

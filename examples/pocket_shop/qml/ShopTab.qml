import QtQuick
import QtQuick.Controls.Basic

TabButton {
    id: tab

    property int badge: 0

    implicitHeight: 64
    display: AbstractButton.TextUnderIcon
    spacing: 2
    font.pixelSize: 12
    icon.width: 24
    icon.height: 24
    icon.color: checked ? Theme.accent : Theme.faint
    palette.windowText: Theme.accent
    palette.brightText: Theme.faint
    background: null

    Rectangle {
        visible: tab.badge > 0
        x: tab.width / 2 + 8
        y: 8
        width: 18
        height: 18
        radius: 9
        color: Theme.danger
        Text {
            anchors.centerIn: parent
            text: tab.badge
            font.pixelSize: 11
            font.weight: Font.Bold
            color: "white"
        }
    }
}

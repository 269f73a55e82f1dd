import QtQuick
import QtQuick.Controls.Basic

Button {
    id: button

    property bool quiet: false
    property color tint: Theme.accent

    implicitHeight: 50
    font.pixelSize: Theme.normal
    font.weight: Font.DemiBold
    background: Rectangle {
        radius: height / 2
        color: button.quiet ? "transparent" : button.tint
        border.color: button.tint
        border.width: button.quiet ? 1 : 0
        opacity: !button.enabled ? 0.4 : button.down ? 0.8 : 1
    }
    contentItem: Text {
        text: button.text
        font: button.font
        color: button.quiet ? button.tint : "white"
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }
}

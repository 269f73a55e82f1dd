import QtQuick
import QtQuick.Controls.Basic

TextField {
    id: field

    implicitHeight: 50
    leftPadding: Theme.gap
    font.pixelSize: Theme.normal
    color: Theme.ink
    placeholderTextColor: Theme.faint
    background: Rectangle {
        radius: 12
        color: Theme.card
        border.color: field.activeFocus ? Theme.accent : Theme.line
        border.width: field.activeFocus ? 2 : 1
    }
}

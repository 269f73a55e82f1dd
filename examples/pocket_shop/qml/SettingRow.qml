import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

SwitchDelegate {
    id: row

    Layout.fillWidth: true
    implicitHeight: 60
    font.pixelSize: Theme.normal
    palette.text: Theme.ink
    palette.dark: Theme.accent
    background: ShopCard { opacity: row.down ? 0.7 : 1 }
}

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

ItemDelegate {
    id: row

    Layout.fillWidth: true
    implicitHeight: 60
    background: ShopCard { opacity: row.down ? 0.7 : 1 }
    contentItem: RowLayout {
        Label {
            Layout.fillWidth: true
            text: row.text
            font.pixelSize: Theme.normal
            color: Theme.ink
        }
        Image {
            source: "../images/icon_back.png"
            sourceSize: Qt.size(16, 16)
            mirror: true
            opacity: 0.4
        }
    }
}

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import PocketShop

ShopCard {
    id: row

    required property int index
    required property string name
    required property string picture
    required property int cents
    required property int pieces

    signal removeAsked()

    x: Theme.gap
    width: ListView.view.width - 2 * Theme.gap
    height: 88

    RowLayout {
        anchors.fill: parent
        anchors.margins: 12
        spacing: 12
        Image {
            source: "../images/" + row.picture
            sourceSize: Qt.size(64, 64)
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            Label {
                Layout.fillWidth: true
                text: row.name
                elide: Text.ElideRight
                font.pixelSize: Theme.normal
                font.weight: Font.DemiBold
                color: Theme.ink
            }
            Label {
                text: row.pieces + " × " + Basket.money(row.cents)
                font.pixelSize: Theme.small
                color: Theme.faint
            }
        }
        ToolButton {
            objectName: "remove-" + row.index
            Accessible.name: qsTr("Remove")
            background: null
            icon.source: "../images/icon_bin.png"
            icon.width: 22
            icon.height: 22
            icon.color: Theme.faint
            onClicked: row.removeAsked()
        }
    }
}

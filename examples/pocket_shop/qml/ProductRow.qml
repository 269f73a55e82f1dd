import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import PocketShop

ItemDelegate {
    id: row

    required property var modelData

    objectName: "product-" + modelData.id
    x: Theme.gap
    width: ListView.view.width - 2 * Theme.gap
    height: 88
    text: modelData.name
    background: ShopCard { opacity: row.down ? 0.7 : 1 }
    contentItem: RowLayout {
        spacing: 12
        Image {
            source: "../images/" + row.modelData.picture
            sourceSize: Qt.size(64, 64)
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            Label {
                Layout.fillWidth: true
                text: row.modelData.name
                elide: Text.ElideRight
                font.pixelSize: Theme.normal
                font.weight: Font.DemiBold
                color: Theme.ink
            }
            Label {
                text: Basket.money(row.modelData.cents)
                font.pixelSize: Theme.small
                color: Theme.faint
            }
        }
        RoundButton {
            id: add
            objectName: "add-" + row.modelData.id
            Accessible.name: qsTr("Add to cart")
            implicitWidth: 40
            implicitHeight: 40
            text: "+"
            font.pixelSize: Theme.large
            palette.buttonText: Theme.accent
            background: Rectangle {
                radius: width / 2
                color: Theme.accentSoft
                opacity: add.down ? 0.6 : 1
            }
            onClicked: Basket.add(row.modelData)
        }
    }
    onClicked: ApplicationWindow.window.show("ProductPage.qml", { product: modelData })
}

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import PocketShop

ShopPage {
    id: page

    property var product

    title: qsTr("Product")

    Flickable {
        anchors.fill: parent
        contentHeight: column.implicitHeight + 2 * Theme.gap

        ColumnLayout {
            id: column
            x: Theme.gap
            y: Theme.gap
            width: parent.width - 2 * Theme.gap
            spacing: 12

            Image {
                Layout.fillWidth: true
                Layout.preferredHeight: 300
                source: "../images/" + page.product.picture
                fillMode: Image.PreserveAspectCrop
            }
            Label {
                text: page.product.name
                font.pixelSize: 26
                font.weight: Font.Bold
                color: Theme.ink
            }
            Label {
                text: Basket.money(page.product.cents)
                font.pixelSize: Theme.large
                color: Theme.accent
            }
            Label {
                Layout.fillWidth: true
                text: page.product.about
                wrapMode: Text.WordWrap
                lineHeight: 1.25
                font.pixelSize: Theme.normal
                color: Theme.faint
            }
        }
    }

    footer: Item {
        implicitHeight: 82
        ShopButton {
            id: add
            objectName: "addToCart"
            anchors.fill: parent
            anchors.margins: Theme.gap
            text: qsTr("Add to cart")
            onClicked: {
                Basket.add(page.product)
                added.open()
            }
        }
    }
    Popup {
        id: added
        x: (parent.width - width) / 2
        y: parent.height - height - Theme.gap
        padding: 14
        background: Rectangle {
            radius: height / 2
            color: Theme.ink
        }
        contentItem: Label {
            objectName: "addedNotice"
            text: qsTr("It is in your cart")
            font.pixelSize: Theme.small
            color: "white"
        }
        Timer {
            running: added.opened
            interval: 1000
            onTriggered: added.close()
        }
    }
}

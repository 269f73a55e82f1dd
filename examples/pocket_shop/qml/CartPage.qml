import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import PocketShop

ShopPage {
    id: page

    property int doomed: -1  // the row that is asked about

    title: qsTr("Cart")
    canGoBack: false

    ListView {
        id: list
        objectName: "cartRows"
        anchors.fill: parent
        topMargin: Theme.gap
        bottomMargin: Theme.gap
        spacing: 10
        model: Basket
        delegate: CartRow {
            onRemoveAsked: {
                page.doomed = index
                dialog.open()
            }
        }
    }
    Notice {
        objectName: "emptyNotice"
        visible: list.count === 0
        anchors.fill: parent
        picture: "../images/bowl.png"
        heading: qsTr("Your cart is empty")
        advice: qsTr("What you add in the shop waits here.")
    }

    footer: Item {
        visible: list.count > 0
        implicitHeight: 132
        ColumnLayout {
            anchors.fill: parent
            anchors.margins: Theme.gap
            RowLayout {
                Label {
                    Layout.fillWidth: true
                    text: qsTr("Total")
                    font.pixelSize: Theme.normal
                    color: Theme.faint
                }
                Label {
                    text: Basket.money(Basket.cents)
                    font.pixelSize: Theme.large
                    font.weight: Font.Bold
                    color: Theme.ink
                }
            }
            ShopButton {
                objectName: "checkoutButton"
                Layout.fillWidth: true
                text: qsTr("Checkout")
                onClicked: ApplicationWindow.window.show("CheckoutPage.qml", {})
            }
        }
    }
    ShopDialog {
        id: dialog
        question: qsTr("Remove this item from your cart?")
        yes: qsTr("Remove")
        onAccepted: Basket.remove(page.doomed)
    }
}

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import PocketShop
import Zarn

ShopPage {
    id: page

    title: qsTr("Checkout")

    Flickable {
        objectName: "checkoutForm"
        anchors.fill: parent
        contentHeight: form.implicitHeight + 2 * Theme.gap
        clip: true

        ColumnLayout {
            id: form
            x: Theme.gap
            y: Theme.gap
            width: parent.width - 2 * Theme.gap
            spacing: 12

            Caption { text: qsTr("Deliver to") }
            ShopField {
                objectName: "nameField"
                Layout.fillWidth: true
                placeholderText: qsTr("Full name")
                Zarn.redact: true
            }
            ShopField {
                objectName: "phoneField"
                Layout.fillWidth: true
                placeholderText: qsTr("Phone")
                inputMethodHints: Qt.ImhDialableCharactersOnly
            }
            TextArea {
                id: note
                objectName: "noteField"
                Layout.fillWidth: true
                Layout.preferredHeight: 110
                padding: Theme.gap
                wrapMode: TextEdit.Wrap
                placeholderText: qsTr("Note to the courier")
                font.pixelSize: Theme.normal
                color: Theme.ink
                background: Rectangle {
                    radius: 12
                    color: Theme.card
                    border.color: note.activeFocus ? Theme.accent : Theme.line
                }
                Zarn.redact: true
            }
            Caption { text: qsTr("Pay by card") }
            ShopField {
                objectName: "cardField"
                Layout.fillWidth: true
                placeholderText: qsTr("Card number")
                inputMethodHints: Qt.ImhDigitsOnly
                Zarn.contentType: Zarn.CreditCardNumber
            }
            RowLayout {
                spacing: 12
                ShopField {
                    objectName: "expiryField"
                    Layout.fillWidth: true
                    placeholderText: qsTr("Expiry")
                    inputMethodHints: Qt.ImhPreferNumbers
                }
                ShopField {
                    objectName: "cvcField"
                    Layout.fillWidth: true
                    placeholderText: qsTr("CVC")
                    inputMethodHints: Qt.ImhDigitsOnly | Qt.ImhSensitiveData
                }
            }
            Caption { text: qsTr("Your order") }
            Repeater {
                model: Basket
                RowLayout {
                    id: line
                    required property string name
                    required property int cents
                    required property int pieces
                    Label {
                        Layout.fillWidth: true
                        text: line.pieces + " × " + line.name
                        font.pixelSize: Theme.normal
                        color: Theme.ink
                    }
                    Label {
                        text: Basket.money(line.pieces * line.cents)
                        font.pixelSize: Theme.normal
                        color: Theme.ink
                    }
                }
            }
            ShopCard {
                Layout.fillWidth: true
                Layout.preferredHeight: 150
                Label {
                    anchors.fill: parent
                    anchors.margins: Theme.gap
                    wrapMode: Text.WordWrap
                    lineHeight: 1.25
                    text: qsTr("You can give back what you bought within thirty days. The courier "
                               + "comes on weekdays between nine and five, and rings twice.")
                    font.pixelSize: Theme.small
                    color: Theme.faint
                }
            }
        }
    }

    footer: Item {
        implicitHeight: 82
        ShopButton {
            objectName: "placeOrder"
            anchors.fill: parent
            anchors.margins: Theme.gap
            text: qsTr("Pay %1").arg(Basket.money(Basket.cents))
            onClicked: {
                Basket.placeOrder()
                ApplicationWindow.window.replace("OrderPage.qml")
            }
        }
    }
}

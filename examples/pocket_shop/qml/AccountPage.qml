import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import PocketShop
import Zarn

ShopPage {
    id: page

    title: qsTr("Account")
    canGoBack: false

    ColumnLayout {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: Theme.gap
        y: Theme.gap
        spacing: 12

        ShopCard {
            Layout.fillWidth: true
            implicitHeight: who.implicitHeight + 2 * Theme.gap
            ColumnLayout {
                id: who
                objectName: "customer"
                x: Theme.gap
                y: Theme.gap
                width: parent.width - 2 * Theme.gap
                spacing: 4
                Zarn.redact: true
                Label {
                    text: Customer.name
                    font.pixelSize: Theme.large
                    font.weight: Font.DemiBold
                    color: Theme.ink
                }
                Label {
                    text: Customer.email
                    font.pixelSize: Theme.small
                    color: Theme.faint
                }
                Label {
                    Layout.topMargin: 8
                    text: Customer.address
                    font.pixelSize: Theme.small
                    color: Theme.ink
                }
            }
        }
        AccountRow {
            objectName: "settingsRow"
            text: qsTr("Settings")
            onClicked: ApplicationWindow.window.show("SettingsPage.qml", {})
        }
        AccountRow {
            objectName: "helpRow"
            text: qsTr("Help and returns")
            onClicked: ApplicationWindow.window.show("HelpPage.qml", {})
        }
        ShopButton {
            objectName: "signOutButton"
            Layout.fillWidth: true
            Layout.topMargin: Theme.gap
            quiet: true
            tint: Theme.danger
            text: qsTr("Sign out")
            Accessible.name: qsTr("Sign out %1").arg(Customer.email)
            onClicked: dialog.open()
        }
    }
    ShopDialog {
        id: dialog
        question: qsTr("Sign out on this phone?")
        yes: qsTr("Sign out")
        onAccepted: Customer.signOut()
    }
}

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import PocketShop
import Zarn

ShopPage {
    id: page

    title: qsTr("Login")
    canGoBack: false

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 24
        spacing: Theme.gap

        Image {
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 32
            source: "../images/mug.png"
            sourceSize: Qt.size(150, 150)
        }
        Label {
            Layout.alignment: Qt.AlignHCenter
            text: qsTr("Welcome back")
            font.pixelSize: 28
            font.weight: Font.Bold
            color: Theme.ink
        }
        Label {
            Layout.alignment: Qt.AlignHCenter
            Layout.bottomMargin: Theme.gap
            text: qsTr("Small things for a good home")
            font.pixelSize: Theme.normal
            color: Theme.faint
        }
        ShopField {
            id: email
            objectName: "emailField"
            Layout.fillWidth: true
            placeholderText: qsTr("E-mail")
            inputMethodHints: Qt.ImhEmailCharactersOnly
            Zarn.redact: true
        }
        ShopField {
            id: password
            objectName: "passwordField"
            Layout.fillWidth: true
            rightPadding: 72
            placeholderText: qsTr("Password")
            echoMode: reveal.checked ? TextInput.Normal : TextInput.Password

            ToolButton {
                id: reveal
                objectName: "revealButton"
                anchors.right: parent.right
                anchors.rightMargin: 8
                anchors.verticalCenter: parent.verticalCenter
                checkable: true
                text: checked ? qsTr("Hide") : qsTr("Show")
                font.pixelSize: Theme.small
                focusPolicy: Qt.NoFocus
                background: null
            }
        }
        ShopButton {
            objectName: "signInButton"
            Layout.fillWidth: true
            Layout.topMargin: 8
            text: qsTr("Sign in")
            enabled: email.text.length > 3 && password.text.length > 3
            onClicked: Customer.signIn(email.text)
        }
        Item { Layout.fillHeight: true }
    }
}

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

ShopPage {
    title: qsTr("Order confirmed")
    canGoBack: false

    ColumnLayout {
        anchors.centerIn: parent
        width: parent.width - 4 * Theme.gap
        spacing: Theme.gap

        Image {
            Layout.alignment: Qt.AlignHCenter
            source: "../images/kettle.png"
            sourceSize: Qt.size(180, 180)
        }
        Label {
            Layout.alignment: Qt.AlignHCenter
            text: qsTr("Thank you!")
            font.pixelSize: 28
            font.weight: Font.Bold
            color: Theme.ink
        }
        Label {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            text: qsTr("It leaves us tomorrow and is with you two days later.")
            font.pixelSize: Theme.normal
            color: Theme.faint
        }
        ShopButton {
            objectName: "continueShopping"
            Layout.fillWidth: true
            text: qsTr("Continue shopping")
            onClicked: ApplicationWindow.window.backToHome()
        }
    }
}

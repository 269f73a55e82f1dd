import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

ShopPage {
    title: qsTr("Settings")

    ColumnLayout {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: Theme.gap
        y: Theme.gap
        spacing: 12

        SettingRow {
            objectName: "offersSwitch"
            text: qsTr("Tell me of offers")
        }
        SettingRow {
            objectName: "deliverySwitch"
            text: qsTr("Tell me of deliveries")
            checked: true
        }
        SettingRow {
            objectName: "receiptSwitch"
            text: qsTr("Receipts by e-mail")
            checked: true
        }
        Caption { text: qsTr("Size of text") }
        Slider {
            objectName: "textSize"
            Layout.fillWidth: true
            value: 0.4
        }
    }
}

import QtQuick
import QtQuick.Controls.Basic

ShopPage {
    title: qsTr("Help")

    WebView {
        objectName: "helpSite"
        anchors.fill: parent
        url: "https://pocket-shop.example/help"
    }
}

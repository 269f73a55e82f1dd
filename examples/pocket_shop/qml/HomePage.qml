import QtQuick
import QtQuick.Controls.Basic
import PocketShop

// The tabs: what can be bought, what will be, and by whom.
Page {
    id: page

    property alias currentTab: tabs.currentIndex

    background: Rectangle { color: Theme.ground }

    SwipeView {
        id: tabs
        objectName: "tabs"
        anchors.fill: parent
        interactive: false
        clip: true
        currentIndex: bar.currentIndex

        CataloguePage {}
        CartPage {}
        AccountPage {}
    }

    footer: TabBar {
        id: bar
        objectName: "tabBar"
        currentIndex: tabs.currentIndex
        implicitHeight: 64
        background: Rectangle {
            color: Theme.card
            Rectangle {
                width: parent.width
                height: 1
                color: Theme.line
            }
        }

        ShopTab {
            objectName: "shopTab"
            text: qsTr("Shop")
            icon.source: "../images/icon_shop.png"
        }
        ShopTab {
            objectName: "cartTab"
            text: qsTr("Cart")
            icon.source: "../images/icon_cart.png"
            badge: Basket.pieces
        }
        ShopTab {
            objectName: "accountTab"
            text: qsTr("Account")
            icon.source: "../images/icon_account.png"
        }
    }
}

import QtQuick
import QtQuick.Controls.Basic

// What all pages of the shop have in common.
Page {
    id: page

    property bool canGoBack: true

    background: Rectangle { color: Theme.ground }
    header: ShopHeader {
        title: page.title
        canGoBack: page.canGoBack
    }
}

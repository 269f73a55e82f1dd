import QtQuick
import QtQuick.Controls.Basic
import PocketShop

ShopPage {
    id: page

    title: qsTr("Catalogue")
    canGoBack: false

    ShopQuery {
        id: query
        path: "categories"
    }

    Column {
        objectName: "skeletons"
        visible: query.state === ShopQuery.Loading
        anchors.fill: parent
        anchors.margins: Theme.gap
        spacing: 12
        Repeater {
            model: 5
            SkeletonCard { width: parent.width }
        }
    }
    ListView {
        visible: query.state !== ShopQuery.Loading
        objectName: "categories"
        anchors.fill: parent
        topMargin: Theme.gap
        bottomMargin: Theme.gap
        spacing: 12
        model: query.rows
        delegate: CategoryRow {}
    }
}

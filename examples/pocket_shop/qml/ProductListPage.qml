import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import PocketShop

ShopPage {
    id: page

    property string category

    ShopQuery {
        id: query
        path: page.category
    }

    ListView {
        id: list
        objectName: "products"
        visible: query.state !== ShopQuery.Loading
        anchors.fill: parent
        topMargin: Theme.gap
        bottomMargin: Theme.gap
        spacing: 10
        model: query.rows
        delegate: ProductRow {}
    }
    BusyIndicator {
        objectName: "busy"
        anchors.centerIn: parent
        running: query.state === ShopQuery.Loading
        visible: running
    }
    Notice {
        objectName: "emptyNotice"
        visible: query.state === ShopQuery.Ready && list.count === 0
        anchors.fill: parent
        picture: "../images/plant.png"
        heading: qsTr("Nothing here yet")
        advice: qsTr("New things come in every spring.")
    }
    Notice {
        objectName: "errorNotice"
        visible: query.state === ShopQuery.Failed
        anchors.fill: parent
        picture: "../images/tag.png"
        heading: qsTr("That did not work")
        advice: qsTr("The shop could not be reached.")
        ShopButton {
            objectName: "retryButton"
            Layout.alignment: Qt.AlignHCenter
            implicitWidth: 180
            text: qsTr("Try again")
            onClicked: query.load()
        }
    }
}

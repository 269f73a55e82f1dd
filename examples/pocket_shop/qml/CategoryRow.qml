import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

ItemDelegate {
    id: row

    required property var modelData

    objectName: "category-" + modelData.id
    x: Theme.gap
    width: ListView.view.width - 2 * Theme.gap
    height: 104
    text: modelData.name
    background: ShopCard { opacity: row.down ? 0.7 : 1 }
    contentItem: RowLayout {
        spacing: Theme.gap
        Image {
            source: "../images/" + row.modelData.picture
            sourceSize: Qt.size(80, 80)
        }
        ColumnLayout {
            spacing: 4
            Label {
                text: row.modelData.name
                font.pixelSize: Theme.large
                font.weight: Font.DemiBold
                color: Theme.ink
            }
            Label {
                Layout.fillWidth: true
                text: row.modelData.about
                elide: Text.ElideRight
                font.pixelSize: Theme.small
                color: Theme.faint
            }
        }
    }
    onClicked: ApplicationWindow.window.show("ProductListPage.qml",
                                             { title: modelData.name, category: modelData.id })
}

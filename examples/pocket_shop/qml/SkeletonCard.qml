import QtQuick

// Stands where a category will be, while it is loaded.
ShopCard {
    height: 104

    Column {
        anchors.verticalCenter: parent.verticalCenter
        x: Theme.gap
        spacing: 12

        Repeater {
            model: [170, 110]
            Rectangle {
                required property int modelData
                width: modelData
                height: 14
                radius: 7
                color: Theme.line
            }
        }
    }
    SequentialAnimation on opacity {
        running: visible
        loops: Animation.Infinite
        NumberAnimation { from: 1; to: 0.5; duration: 500 }
        NumberAnimation { from: 0.5; to: 1; duration: 500 }
    }
}

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

// Lies over a list that has nothing to show, and says why.
Item {
    id: notice

    property string picture
    property string heading
    property string advice
    default property alias actions: column.data

    ColumnLayout {
        id: column

        anchors.centerIn: parent
        width: parent.width - 4 * Theme.gap
        spacing: Theme.gap

        Image {
            Layout.alignment: Qt.AlignHCenter
            source: notice.picture
            sourceSize: Qt.size(110, 110)
        }
        Label {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            text: notice.heading
            font.pixelSize: Theme.large
            font.weight: Font.DemiBold
            color: Theme.ink
        }
        Label {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            text: notice.advice
            font.pixelSize: Theme.normal
            color: Theme.faint
        }
    }
}

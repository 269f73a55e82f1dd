import QtQuick
import QtQuick.Controls.Basic

// Stands for a web view, which would be a browser of its own: what it shows comes from elsewhere, and
// the app knows nothing of it.
Rectangle {
    id: web

    property url url

    color: "#fdfcfa"

    Column {
        anchors.fill: parent
        anchors.margins: 24
        spacing: 14
        Text {
            text: "Returns"
            font.pixelSize: 30
            font.family: "serif"
            color: "#30333a"
        }
        Repeater {
            model: ["Dear customer 20417733, your parcel of last week can be given back until Friday.",
                    "Put it into its box, write the number on it, and hand it to the courier.",
                    "Your money is on your account three days later."]
            Text {
                required property string modelData
                width: parent.width
                text: modelData
                wrapMode: Text.WordWrap
                lineHeight: 1.3
                font.pixelSize: 17
                font.family: "serif"
                color: "#30333a"
            }
        }
    }
}

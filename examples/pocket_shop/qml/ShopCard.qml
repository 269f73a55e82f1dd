import QtQuick

Rectangle {
    radius: Theme.corner
    color: Theme.card
    border.color: Theme.line
}

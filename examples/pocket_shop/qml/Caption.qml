import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

Label {
    Layout.topMargin: 8
    font.pixelSize: Theme.small
    font.weight: Font.DemiBold
    font.capitalization: Font.AllUppercase
    color: Theme.faint
}

pragma Singleton
import QtQuick

QtObject {
    readonly property color ground: "#f6f4f1"
    readonly property color card: "#ffffff"
    readonly property color ink: "#22252b"
    readonly property color faint: "#7a7f87"
    readonly property color line: "#e5e1db"
    readonly property color accent: "#1f6f5c"
    readonly property color accentSoft: "#dcebe6"
    readonly property color danger: "#b4412f"
    readonly property int gap: 16
    readonly property int corner: 16
    readonly property int small: 13
    readonly property int normal: 16
    readonly property int large: 22
}

import QtQuick
import QtQuick.Controls.Basic
import PocketShop

ApplicationWindow {
    id: window

    width: 390
    height: 844
    visible: true
    title: qsTr("Pocket Shop")
    color: Theme.ground

    function show(page, properties) { place.item.push(Qt.resolvedUrl(page), properties) }
    function replace(page) { place.item.replace(Qt.resolvedUrl(page)) }
    function back() { place.item.pop() }
    function backToHome() { place.item.pop(null) }

    // Without the way it takes: for the measurement of many pages.
    function openAtOnce(page) { place.item.push(Qt.resolvedUrl(page), {}, StackView.Immediate) }
    function closeAtOnce() { place.item.pop(StackView.Immediate) }

    Loader {
        id: place
        objectName: "place"
        anchors.fill: parent
        focus: true
        sourceComponent: Customer.signedIn ? shop : door
    }
    Component {
        id: door
        SignInPage {}
    }
    Component {
        id: shop
        StackView {
            objectName: "stack"
            initialItem: HomePage {}
        }
    }
}

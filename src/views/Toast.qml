import QtQuick
import Tapeloop

// A notice over the window, with a green check mark. A tap hides it.
Rectangle {
    id: root

    required property string title
    required property bool showing
    required property bool dark
    signal tapped

    visible: showing
    implicitWidth: 170
    implicitHeight: 120
    radius: 12
    color: dark ? Colors.darkPanel : Colors.panel
    border.color: Qt.rgba(0.5, 0.5, 0.5, 0.5)
    Accessible.role: Accessible.AlertMessage
    Accessible.name: title

    Column {
        anchors.centerIn: parent
        spacing: 8

        Symbol {
            anchors.horizontalCenter: parent.horizontalCenter
            name: "check"
            side: 56
            tint: Colors.checkMark
        }

        Text {
            text: root.title
            color: root.dark ? "white" : "black"
            font.pointSize: 11
            font.weight: Font.DemiBold
            Accessible.ignored: true
        }
    }

    // Also keeps presses from the controls below.
    MouseArea {
        anchors.fill: parent
        onClicked: root.tapped()
    }
}

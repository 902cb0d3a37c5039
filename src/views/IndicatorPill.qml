import QtQuick
import Tapeloop

// The content of the small windows that are shown while something is recorded or played.
Rectangle {
    id: root

    required property string text
    // Null: there is no dot before the text.
    property NumberValue dotOpacity: null

    implicitWidth: row.width + (dotOpacity === null ? 20 : 24)
    implicitHeight: row.height + 20
    radius: 10
    color: Colors.red

    Row {
        id: row

        anchors.centerIn: parent
        spacing: 8

        Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            visible: root.dotOpacity !== null
            width: 20
            height: 20
            radius: 10
            color: "white"
            opacity: root.dotOpacity === null ? 0 : root.dotOpacity.value
        }

        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: root.text
            color: "white"
            font.pointSize: 13
            font.bold: root.dotOpacity !== null
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }
}

import QtQuick
import Tapeloop

Rectangle {
    id: root

    required property RecordingViewModel model

    implicitWidth: row.width + 24
    implicitHeight: row.height + 20
    radius: 10
    color: Qt.rgba(220 / 255, 90 / 255, 80 / 255, 1)

    Row {
        id: row

        anchors.centerIn: parent
        spacing: 8

        Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            width: 20
            height: 20
            radius: 10
            color: "white"
            opacity: root.model.circleOpacity
        }

        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: "REC"
            color: "white"
            font.pointSize: 13
            font.bold: true
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }
}

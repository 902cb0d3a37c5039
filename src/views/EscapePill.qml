import QtQuick

Rectangle {
    id: root

    implicitWidth: hint.implicitWidth + 20
    implicitHeight: hint.implicitHeight + 20
    radius: 10
    color: Qt.rgba(220 / 255, 90 / 255, 80 / 255, 1)

    Text {
        id: hint

        anchors.centerIn: parent
        text: "Press Escape to Stop"
        color: "white"
        font.pointSize: 13
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}

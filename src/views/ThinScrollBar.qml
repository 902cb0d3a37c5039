import QtQuick
import QtQuick.Templates as T

// Where and how much of the whole one sees; away while one sees all of it.
T.ScrollBar {
    id: root

    visible: size < 1
    implicitWidth: 8
    implicitHeight: 8
    minimumSize: 0.1

    contentItem: Rectangle {
        implicitWidth: 6
        implicitHeight: 6
        radius: 3
        color: "grey"
        opacity: root.pressed ? 0.9 : 0.6
    }
}

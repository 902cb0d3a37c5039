import QtQuick
import QtQuick.Templates as T

// A scroll bar without a groove. Hidden while all of the content is in view.
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

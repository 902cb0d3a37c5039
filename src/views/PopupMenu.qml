import QtQuick
import QtQuick.Templates as T

T.Menu {
    id: root

    implicitWidth: 190
    implicitHeight: contentItem.implicitHeight + 8
    padding: 4
    margins: 4

    contentItem: ListView {
        implicitHeight: contentHeight
        model: root.contentModel
        currentIndex: root.currentIndex
        interactive: false
    }

    background: Rectangle {
        color: root.palette.window
        border.color: Qt.rgba(0.5, 0.5, 0.5, 0.6)
        radius: 5
    }
}

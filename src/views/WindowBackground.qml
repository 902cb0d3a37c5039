import QtQuick
import QtQuick.Window

// Dragging the background moves the window.
MouseArea {
    id: root

    property bool movable: true
    property point start
    property bool dragging: false
    signal menuRequested(point at)

    acceptedButtons: Qt.LeftButton | Qt.RightButton
    onPressed: mouse => {
        start = Qt.point(mouse.x, mouse.y);
        dragging = mouse.button === Qt.RightButton;
    }
    onPositionChanged: mouse => {
        if (!movable || dragging || Math.hypot(mouse.x - start.x, mouse.y - start.y) < drag.threshold)
            return;
        dragging = true;
        root.Window.window.startSystemMove();
    }
    onClicked: mouse => {
        if (mouse.button === Qt.RightButton)
            root.menuRequested(Qt.point(mouse.x, mouse.y));
        else if (!dragging)
            root.forceActiveFocus();
    }
}

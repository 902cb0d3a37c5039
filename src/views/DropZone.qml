import QtQuick
import Tapeloop

// Accepts drops of every kind, also from other programs. Invisible unless a drag is over it.
DropArea {
    id: root

    required property LibraryModel model
    required property bool dark

    onEntered: drag => {
        drag.accept();
        root.model.dragOver.value = true;
    }
    onExited: root.model.dragOver.value = false
    onDropped: drop => {
        drop.accept(Qt.CopyAction);
        root.model.dragOver.value = false;
        root.model.drop();
    }

    Rectangle {
        anchors.centerIn: parent
        visible: root.model.dragOver.value
        width: 130
        height: 130
        radius: 10
        color: root.dark ? Colors.darkPanel : Colors.panel

        Canvas {
            anchors.fill: parent
            onPaint: {
                const context = getContext("2d");
                context.lineWidth = 2;
                context.strokeStyle = "grey";
                context.fillStyle = Qt.rgba(0, 0.48, 1, 0.2);
                context.setLineDash([2, 2]); // multiples of the line width
                context.roundedRect(1, 1, width - 2, height - 2, 10, 10);
                context.fill();
                context.stroke();
            }
        }

        Item {
            x: 15
            y: 15
            width: 100
            height: 100

            Symbol {
                anchors.centerIn: parent
                name: "drop"
                side: 64
                tint: "grey"
            }
        }
    }
}

pragma ComponentBehavior: Bound

import QtQuick
import Tapeloop

// One saved recording. Dragging it anywhere but at a button drags the recording.
FocusScope {
    id: root

    required property int index
    required property string recordingName
    required property real loadOpacity
    required property color rowColor
    required property real trashOpacity
    required property SavedRecordingsModel rows
    required property bool available
    // The part of the list that is in view, in its coordinates.
    required property real seenFrom
    required property real seenTo

    // The Tab key stops only at the controls of the current row; the arrow keys change the row.
    readonly property bool isCurrent: ListView.isCurrentItem
    readonly property list<Item> controls: [load, field, trash]

    function focusedControl(): int {
        return load.activeFocus ? 0 : field.activeFocus ? 1 : 2;
    }

    implicitHeight: 42
    Accessible.role: Accessible.ListItem
    Accessible.name: recordingName
    Component.onCompleted: rows.appear(index)
    // A row that was scrolled out of sight is destroyed without the pointer having left it.
    Component.onDestruction: if (rows)
        rows.leave(index)
    Keys.onMenuPressed: menu.popup(root, 20, 20)

    Drag.dragType: Drag.Automatic
    Drag.imageSource: "image://symbols/tapeloop"
    Drag.hotSpot: Qt.point(-8, -8)
    Drag.supportedActions: Qt.CopyAction
    Drag.onDragFinished: Drag.active = false

    HoverHandler {
        onHoveredChanged: root.rows.hoverRow(root.index, hovered)
    }

    DragHandler {
        id: pull

        target: null
        grabPermissions: PointerHandler.CanTakeOverFromAnything
        onActiveChanged: if (!active)
            root.Drag.active = false
    }

    // The drag starts from a timer, not from the pointer event: setting Drag.active returns only when
    // the drag has ended, and the event would then be delivered to the row below the pointer.
    Timer {
        interval: 0
        running: pull.active
        onTriggered: {
            const text = root.rows.drag(root.index);
            root.Drag.mimeData = {
                "text/plain": text
            };
            root.Drag.active = true;
        }
    }

    TapHandler {
        acceptedButtons: Qt.RightButton
        onTapped: point => menu.popup(root, point.position.x, point.position.y)
    }

    PopupMenu {
        id: menu

        Repeater {
            model: root.rows.menuTitles

            MenuRow {
                required property int index
                required property string modelData

                text: modelData
                onTriggered: root.rows.chooseFromMenu(index, root.index)
            }
        }
    }

    Rectangle {
        anchors.fill: parent
        color: root.rowColor
    }

    SymbolButton {
        id: load

        x: 5
        anchors.verticalCenter: parent.verticalCenter
        symbol: "load"
        label: "Load Recording"
        available: root.available
        buttonOpacity: root.loadOpacity
        tabbable: root.isCurrent
        onHoverChanged: hovering => root.rows.hoverLoad(root.index, hovering)
        onClicked: root.rows.load(root.index)
    }

    NameField {
        id: field

        anchors.left: load.right
        anchors.right: trash.left
        anchors.margins: 5
        anchors.verticalCenter: parent.verticalCenter
        // Workaround for the software renderer: an item whose clip with that of the list is empty is
        // drawn unclipped.
        opacity: root.y + y + height > root.seenFrom + 1 && root.y + y < root.seenTo - 1 ? 1 : 0
        name: root.recordingName
        tabbable: root.isCurrent
        onNameEdited: text => root.rows.edit(root.index, text)
        onMenuRequested: at => menu.popup(field, at.x, at.y)
        onCommitted: root.rows.rename(root.index)
    }

    SymbolButton {
        id: trash

        anchors.right: parent.right
        anchors.rightMargin: 5
        anchors.verticalCenter: parent.verticalCenter
        symbol: "trash"
        label: "Delete Recording"
        available: root.available
        buttonOpacity: root.trashOpacity
        tabbable: root.isCurrent
        onHoverChanged: hovering => root.rows.hoverTrash(root.index, hovering)
        onFocusSeen: seen => root.rows.focusTrash(root.index, seen)
        onClicked: root.rows.remove(root.index)
    }

    // The grid line below the row.
    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: Qt.rgba(0.5, 0.5, 0.5, 0.5)
    }
}

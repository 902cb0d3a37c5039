import QtQuick
import Tapeloop

// One saved recording. It is dragged by any point that is not a button.
Item {
    id: root

    required property int index
    required property string recordingName
    required property real loadOpacity
    required property color rowColor
    required property real trashOpacity
    required property SavedRecordingsModel rows
    required property bool available

    readonly property bool holdsFocus: load.activeFocus || field.activeFocus || trash.activeFocus

    implicitHeight: 42
    Accessible.role: Accessible.ListItem
    Accessible.name: recordingName
    Component.onCompleted: rows.appear(index)
    ListView.onReused: rows.appear(index)
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
        target: null
        grabPermissions: PointerHandler.CanTakeOverFromAnything
        onActiveChanged: {
            if (!active) {
                root.Drag.active = false;
                return;
            }
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

        MenuRow {
            text: "Load Recording"
            onTriggered: root.rows.loadFromMenu(root.index)
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
        onHoverChanged: hovering => root.rows.hoverLoad(root.index, hovering)
        onClicked: root.rows.load(root.index)
    }

    NameField {
        id: field

        anchors.left: load.right
        anchors.right: trash.left
        anchors.margins: 5
        anchors.verticalCenter: parent.verticalCenter
        name: root.recordingName
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
        onHoverChanged: hovering => root.rows.hoverTrash(root.index, hovering)
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

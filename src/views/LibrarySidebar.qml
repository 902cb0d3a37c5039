pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Tapeloop

// The list of saved recordings.
Item {
    id: root

    required property LibraryModel model
    required property bool available

    visible: model.showing.value
    width: model.sidebarWidth.value
    height: model.sidebarHeight.value

    Text {
        id: heading

        x: 6
        text: "Saved Recordings"
        color: palette.windowText
        font.pixelSize: 17
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }

    Rectangle {
        anchors.fill: parent
        anchors.topMargin: heading.height + 8
        color: "transparent"
        radius: 15
        border.width: 2
        border.color: "grey"

        ListView {
            id: list

            function goTo(row: int, control: int) {
                if (row < 0 || row >= count)
                    return;
                positionViewAtIndex(row, ListView.Contain);
                (itemAtIndex(row) as SavedRecordingRow)?.controls[control].forceActiveFocus(Qt.TabFocusReason);
            }

            anchors.fill: parent
            anchors.margins: 7
            highlightMoveDuration: 0
            // At first the Tab key stops at the first row.
            onCountChanged: if (currentIndex < 0 && count > 0)
                currentIndex = 0
            clip: true
            // `reuseItems` stays off: with Qt 6.8 screen readers don't find a row that was reused.
            // Dragging with the pointer moves rows, so the list scrolls only with the wheel and the bar.
            interactive: false
            boundsBehavior: Flickable.StopAtBounds
            model: root.model.showing.value ? root.model.rows : null
            Accessible.role: Accessible.List
            Accessible.name: heading.text

            delegate: SavedRecordingRow {
                width: ListView.view.width - (bar.visible ? bar.width : 0)
                rows: root.model.rows
                available: root.available
                seenFrom: list.contentY
                seenTo: list.contentY + list.height
                onActiveFocusChanged: if (activeFocus)
                    list.currentIndex = index
                Keys.onUpPressed: list.goTo(index - 1, focusedControl())
                Keys.onDownPressed: list.goTo(index + 1, focusedControl())
            }

            WheelHandler {
                enabled: bar.visible
                onWheel: event => {
                    const end = Math.max(0, list.contentHeight - list.height);
                    const place = list.contentY - list.originY - event.angleDelta.y / 2;
                    list.contentY = list.originY + Math.max(0, Math.min(end, place));
                }
            }

            T.ScrollBar.vertical: ThinScrollBar {
                id: bar
            }
        }
    }

    SystemPalette {
        id: palette
    }
}

pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Tapeloop

// The settings, which slide over what lies below. That is dimmed meanwhile.
FocusScope {
    id: root

    required property SheetModel model
    required property bool dark
    // It covers only a part of what lies below.
    required property bool floats
    // What lies below takes neither pointer nor keyboard.
    property bool modal: false
    property Item cameFrom: null

    // How far it has come: 0 is away, 1 is there.
    property real place: modal ? 1 : 0
    Behavior on place {
        NumberAnimation {
            duration: 180
            easing.type: Easing.OutCubic
        }
    }

    // Whoever got here by the keyboard goes on to see where it acts. Not an int, as compiled code
    // would pass it on: that is not taken for a reason.
    function focusReason(): var {
        const control = Window.activeFocusItem as T.Control;
        if (control !== null && control.visualFocus)
            return Qt.TabFocusReason;
        return Qt.OtherFocusReason;
    }
    function open() {
        const reason = focusReason();
        cameFrom = Window.activeFocusItem;
        modal = true;
        model.appear();
        playback.firstControl.forceActiveFocus(reason);
    }
    function close() {
        const reason = focusReason();
        modal = false;
        if (cameFrom)
            cameFrom.forceActiveFocus(reason);
        else
            focus = false;
    }

    implicitWidth: column.width + 40
    implicitHeight: column.height + 36
    visible: place > 0
    Keys.onReturnPressed: model.saveButtonPressed()
    Keys.onEnterPressed: model.saveButtonPressed()

    Connections {
        target: root.model.shown

        function onChanged() {
            if (root.model.shown.value)
                root.open();
            else
                root.close();
        }
    }

    SystemPalette {
        id: palette
    }

    Rectangle {
        anchors.fill: parent
        color: "black"
        opacity: root.place * (root.dark ? 0.5 : 0.25)
    }

    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.AllButtons
        hoverEnabled: true
        onWheel: wheel => wheel.accepted = true
    }

    Item {
        x: Math.round((root.width - width) / 2)
        width: Math.min(root.implicitWidth, root.width)
        height: Math.min(root.implicitHeight, root.height)
        clip: true
        // Not of the scope, which would have the focus along with what is in it.
        Accessible.role: Accessible.Dialog
        Accessible.name: "Settings"

        // Its upper corners are beyond the edge.
        Rectangle {
            y: paper.y - radius
            width: parent.width
            height: parent.height + radius
            radius: root.floats ? 11 : 0
            color: palette.window
            border.width: root.floats ? 1 : 0
            border.color: Qt.rgba(0.5, 0.5, 0.5, 0.7)
        }

        Item {
            id: paper

            y: Math.round((root.place - 1) * height)
            width: parent.width
            height: parent.height

            // A small screen has no room for all of it.
            ScrollArea {
                anchors.fill: parent
                contentWidth: root.implicitWidth
                contentHeight: root.implicitHeight
                // A field that records stays where it is.
                responds: !root.model.isRecordingShortcut.value

                Column {
                    id: column

                    x: 20
                    y: 12
                    spacing: 10

                    Text {
                        anchors.horizontalCenter: parent.horizontalCenter
                        text: "Settings"
                        color: palette.windowText
                        font.pixelSize: 20
                        font.weight: Font.DemiBold
                        Accessible.role: Accessible.Heading
                        Accessible.name: text
                    }

                    PlaybackSettings {
                        id: playback

                        width: shortcuts.width
                        model: root.model
                    }

                    Row {
                        id: shortcuts

                        anchors.horizontalCenter: parent.horizontalCenter
                        spacing: 10

                        Repeater {
                            model: root.model.recorders

                            ShortcutBox {
                                required property RecorderModel modelData

                                recorder: modelData
                                dark: root.dark
                            }
                        }
                    }

                    PushButton {
                        anchors.horizontalCenter: parent.horizontalCenter
                        width: 50
                        height: 25
                        padding: 2
                        radius: 7
                        text: "Save"
                        font.pointSize: 10
                        unpressColor: Colors.green
                        pressColor: Colors.greenPressed
                        onClicked: root.model.saveButtonPressed()
                    }
                }
            }

            // On its way out nothing acts any more.
            MouseArea {
                anchors.fill: parent
                enabled: !root.modal
            }
        }
    }
}

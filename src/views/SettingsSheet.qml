pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Tapeloop

// The settings. They slide over the main window, which is dimmed meanwhile.
FocusScope {
    id: root

    required property SheetModel model
    required property bool dark
    // The window is wider than the sheet.
    required property bool floats
    // The window below takes neither pointer nor keyboard.
    property bool modal: false
    property Item cameFrom: null

    // Progress of the slide: 0 is hidden, 1 is shown.
    property real place: modal ? 1 : 0
    Behavior on place {
        NumberAnimation {
            duration: 180
            easing.type: Easing.OutCubic
        }
    }

    // After use of the keyboard the focus ring stays visible. The result is not typed as int: compiled
    // code would pass an int, which forceActiveFocus does not take as a focus reason.
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
        // Not on the focus scope, which screen readers would then report as focused.
        Accessible.role: Accessible.Dialog
        Accessible.name: "Settings"

        // Only the lower corners are rounded: the upper ones are above the edge.
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

            // Scrolls on a screen that is too small for the sheet.
            ScrollArea {
                anchors.fill: parent
                contentWidth: root.implicitWidth
                contentHeight: root.implicitHeight
                // A field that records must not move away below the pointer.
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

            // Blocks the controls while the sheet slides out.
            MouseArea {
                anchors.fill: parent
                enabled: !root.modal
            }
        }
    }
}

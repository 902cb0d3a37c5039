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
        repeat.firstControl.forceActiveFocus(reason);
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
        target: root.model

        function onShownChanged() {
            if (root.model.shown)
                root.open();
            else
                root.close();
        }
    }

    Repeater {
        model: [root.model.recordShortcut, root.model.playShortcut]

        Item {
            id: recorder

            required property RecorderModel modelData

            AlertWindow {
                isWarning: true
                heading: recorder.modelData.alertTitle
                message: recorder.modelData.alertText
                dismissText: "OK"
                showing: recorder.modelData.showingAlert
                onDismissed: recorder.modelData.dismissAlert()
            }
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
                responds: !root.model.recordShortcut.isRecording && !root.model.playShortcut.isRecording

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

                    RepeatSettings {
                        id: repeat

                        width: shortcuts.width
                        model: root.model
                    }

                    SheetPanel {
                        width: shortcuts.width

                        SheetCaption {
                            anchors.horizontalCenter: parent.horizontalCenter
                            text: root.model.speedCaption
                        }

                        SheetSlider {
                            anchors.horizontalCenter: parent.horizontalCenter
                            width: 200
                            name: "Playback Speed"
                            from: root.model.lowestSpeed
                            to: root.model.highestSpeed
                            stepSize: 1
                            keyStep: 1
                            setting: root.model.playbackSpeed
                            onEdited: to => root.model.playbackSpeed = to
                        }
                    }

                    Row {
                        id: shortcuts

                        anchors.horizontalCenter: parent.horizontalCenter
                        spacing: 10

                        ShortcutBox {
                            caption: "Record Shortcut"
                            tint: Qt.rgba(220 / 255, 90 / 255, 80 / 255, 0.15)
                            model: root.model.recordShortcut
                        }

                        ShortcutBox {
                            caption: "Play Shortcut"
                            tint: root.dark ? Qt.rgba(50 / 255, 215 / 255, 75 / 255, 0.15) : Qt.rgba(40 / 255, 205 / 255, 65 / 255, 0.15)
                            model: root.model.playShortcut
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
                        unpressColor: Qt.rgba(43 / 255, 150 / 255, 72 / 255, 1)
                        pressColor: Qt.rgba(0, 107 / 255, 0, 1)
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

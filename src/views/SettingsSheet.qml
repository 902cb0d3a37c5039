import QtQuick
import Tapeloop

// The settings, which slide over the window below its title bar.
FocusScope {
    id: root

    required property SheetModel model
    required property bool dark
    readonly property color dimmed: Qt.rgba(0.5, 0.5, 0.5, 1)

    implicitWidth: column.width + 40
    implicitHeight: column.height + 36
    visible: place > 0
    clip: true

    // How far it has come: 0 is away, 1 is there.
    property real place: model.shown ? 1 : 0
    Behavior on place {
        NumberAnimation {
            duration: 180
            easing.type: Easing.OutCubic
        }
    }

    onVisibleChanged: {
        if (!visible)
            return;
        model.appear();
        repeatToggle.forceActiveFocus(Qt.OtherFocusReason);
    }
    Keys.onReturnPressed: model.saveButtonPressed()
    Keys.onEnterPressed: model.saveButtonPressed()

    Accessible.role: Accessible.Dialog
    Accessible.name: "Settings"

    SystemPalette {
        id: palette
    }

    Rectangle {
        id: paper

        width: root.width
        height: root.height
        y: (root.place - 1) * height
        color: palette.window

        // What lies below takes nothing from the pointer.
        MouseArea {
            anchors.fill: parent
            acceptedButtons: Qt.AllButtons
            hoverEnabled: true
            onWheel: wheel => wheel.accepted = true
        }

        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: 1
            color: Qt.rgba(0.5, 0.5, 0.5, 0.7)
        }

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

            SheetPanel {
                width: shortcuts.width

                SheetSwitch {
                    id: repeatToggle

                    anchors.horizontalCenter: parent.horizontalCenter
                    text: "Repeat Playback"
                    checked: root.model.repeatPlayback
                    onToggled: root.model.repeatPlayback = checked
                }

                Text {
                    anchors.horizontalCenter: parent.horizontalCenter
                    text: root.model.repeatCaption
                    color: root.model.repeatPlayback ? palette.windowText : root.dimmed
                    font.pointSize: 10
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }

                Row {
                    anchors.horizontalCenter: parent.horizontalCenter
                    spacing: 8

                    Text {
                        anchors.verticalCenter: parent.verticalCenter
                        text: "Unlimited"
                        color: root.model.repeatPlayback ? palette.windowText : root.dimmed
                        font.pointSize: 10
                    }

                    SheetSlider {
                        width: 100
                        name: root.model.repeatCaption
                        enabled: root.model.repeatPlayback
                        to: root.model.mostTimesToRepeat
                        keyStep: 1
                        value: root.model.timesToRepeat
                        onEdited: to => root.model.timesToRepeat = to
                    }

                    Text {
                        anchors.verticalCenter: parent.verticalCenter
                        text: "100"
                        color: root.model.repeatPlayback ? palette.windowText : root.dimmed
                        font.pointSize: 10
                    }
                }

                SheetSwitch {
                    anchors.horizontalCenter: parent.horizontalCenter
                    text: "Wait Before Repeating"
                    enabled: root.model.repeatPlayback
                    checked: root.model.waitBeforeRepeating
                    onToggled: root.model.waitBeforeRepeating = checked
                }

                Row {
                    anchors.horizontalCenter: parent.horizontalCenter
                    spacing: 8

                    SheetPicker {
                        width: 56
                        name: "Wait Time"
                        enabled: root.model.repeatPlayback && root.model.waitBeforeRepeating
                        model: root.model.longestWait
                        numbersFrom: 1
                        currentIndex: root.model.waitTime - 1
                        outside: root.model.waitTime
                        onActivated: index => root.model.waitTime = index + 1
                    }

                    SheetPicker {
                        width: 96
                        name: "Wait Time Unit"
                        enabled: root.model.repeatPlayback && root.model.waitBeforeRepeating
                        model: root.model.unitCaptions
                        currentIndex: root.model.waitUnit
                        onActivated: index => root.model.waitUnit = index
                    }
                }
            }

            SheetPanel {
                width: shortcuts.width

                Text {
                    anchors.horizontalCenter: parent.horizontalCenter
                    text: root.model.speedCaption
                    color: palette.windowText
                    font.pointSize: 10
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }

                SheetSlider {
                    anchors.horizontalCenter: parent.horizontalCenter
                    width: 200
                    name: "Playback Speed"
                    from: root.model.lowestSpeed
                    to: root.model.highestSpeed
                    stepSize: 1
                    keyStep: 1
                    value: root.model.playbackSpeed
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
}

import QtQuick
import Tapeloop

// How often a recording is played, what passes between two runs, and how fast they are.
Column {
    id: root

    required property SheetModel model
    readonly property alias firstControl: repeatToggle

    spacing: 10

    Panel {
        SheetSwitch {
            id: repeatToggle

            anchors.horizontalCenter: parent.horizontalCenter
            text: "Repeat Playback"
            checked: root.model.repeatPlayback.value
            onToggled: root.model.repeatPlayback.value = checked
        }

        Caption {
            anchors.horizontalCenter: parent.horizontalCenter
            enabled: root.model.repeatControlsRespond.value
            text: root.model.repeatCaption.value
        }

        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: 8
            enabled: root.model.repeatControlsRespond.value

            Caption {
                anchors.verticalCenter: parent.verticalCenter
                text: "Unlimited"
            }

            SheetSlider {
                width: 100
                name: root.model.repeatCaption.value
                to: root.model.mostTimesToRepeat
                keyStep: 1
                setting: root.model.timesToRepeat.value
                onEdited: to => root.model.timesToRepeat.value = to
            }

            Caption {
                anchors.verticalCenter: parent.verticalCenter
                text: "100"
            }
        }

        SheetSwitch {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "Wait Before Repeating"
            enabled: root.model.repeatControlsRespond.value
            checked: root.model.waitBeforeRepeating.value
            onToggled: root.model.waitBeforeRepeating.value = checked
        }

        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: 8
            enabled: root.model.pickersRespond.value

            SheetPicker {
                leastWidth: 50
                name: "Wait Time"
                model: root.model.waitTimes
                currentIndex: root.model.waitTime.value
                otherChoice: root.model.waitTimeText.value
                onActivated: index => root.model.waitTime.value = index
            }

            SheetPicker {
                leastWidth: 90
                textRole: "display"
                name: "Wait Time Unit"
                model: root.model.unitCaptions
                currentIndex: root.model.waitUnit.value
                onActivated: index => root.model.waitUnit.value = index
            }
        }
    }

    Panel {
        Caption {
            anchors.horizontalCenter: parent.horizontalCenter
            text: root.model.speedCaption.value
        }

        SheetSlider {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 200
            name: "Playback Speed"
            from: root.model.lowestSpeed
            to: root.model.highestSpeed
            stepSize: 1
            keyStep: 1
            setting: root.model.playbackSpeed.value
            onEdited: to => root.model.playbackSpeed.value = to
        }
    }

    SystemPalette {
        id: palette
    }

    component Panel: Rectangle {
        default property alias rows: column.data

        width: parent.width
        height: column.height + 20
        radius: 11
        color: Qt.rgba(0.5, 0.5, 0.5, 0.15)

        Column {
            id: column

            y: 10
            width: parent.width
            spacing: 8
        }
    }

    component Caption: Text {
        color: enabled ? palette.windowText : Qt.rgba(0.5, 0.5, 0.5, 1)
        font.pointSize: 10
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}

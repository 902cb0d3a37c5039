import QtQuick
import Tapeloop

// How often a recording is played, and what passes between two runs.
SheetPanel {
    id: root

    required property SheetModel model
    readonly property bool waits: model.repeatPlayback && model.waitBeforeRepeating
    readonly property alias firstControl: repeatToggle

    SheetSwitch {
        id: repeatToggle

        anchors.horizontalCenter: parent.horizontalCenter
        text: "Repeat Playback"
        checked: root.model.repeatPlayback
        onToggled: root.model.repeatPlayback = checked
    }

    SheetCaption {
        anchors.horizontalCenter: parent.horizontalCenter
        enabled: root.model.repeatPlayback
        text: root.model.repeatCaption
    }

    Row {
        anchors.horizontalCenter: parent.horizontalCenter
        spacing: 8
        enabled: root.model.repeatPlayback

        SheetCaption {
            anchors.verticalCenter: parent.verticalCenter
            text: "Unlimited"
        }

        SheetSlider {
            width: 100
            name: root.model.repeatCaption
            to: root.model.mostTimesToRepeat
            keyStep: 1
            value: root.model.timesToRepeat
            onEdited: to => root.model.timesToRepeat = to
        }

        SheetCaption {
            anchors.verticalCenter: parent.verticalCenter
            text: "100"
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
        enabled: root.waits

        SheetPicker {
            leastWidth: 50
            name: "Wait Time"
            model: Array.from({
                length: root.model.longestWait
            }, (_, row) => String(row + 1))
            currentIndex: Math.max(-1, root.model.waitTime - 1)
            otherChoice: String(root.model.waitTime)
            onActivated: index => root.model.waitTime = index + 1
        }

        SheetPicker {
            leastWidth: 90
            name: "Wait Time Unit"
            model: root.model.unitCaptions
            currentIndex: root.model.waitUnit
            onActivated: index => root.model.waitUnit = index
        }
    }
}

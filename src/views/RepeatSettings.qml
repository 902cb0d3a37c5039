import QtQuick
import Tapeloop

// How often a recording is played, and what passes between two runs.
SheetPanel {
    id: root

    required property SheetModel model
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
        enabled: root.model.repeatControlsRespond
        text: root.model.repeatCaption
    }

    Row {
        anchors.horizontalCenter: parent.horizontalCenter
        spacing: 8
        enabled: root.model.repeatControlsRespond

        SheetCaption {
            anchors.verticalCenter: parent.verticalCenter
            text: "Unlimited"
        }

        SheetSlider {
            width: 100
            name: root.model.repeatCaption
            to: root.model.mostTimesToRepeat
            keyStep: 1
            setting: root.model.timesToRepeat
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
        enabled: root.model.repeatControlsRespond
        checked: root.model.waitBeforeRepeating
        onToggled: root.model.waitBeforeRepeating = checked
    }

    Row {
        anchors.horizontalCenter: parent.horizontalCenter
        spacing: 8
        enabled: root.model.pickersRespond

        SheetPicker {
            leastWidth: 50
            name: "Wait Time"
            model: root.model.waitTimes
            currentIndex: root.model.waitTime
            otherChoice: root.model.waitTimeText
            onActivated: index => root.model.waitTime = index
        }

        SheetPicker {
            leastWidth: 90
            textRole: "display"
            name: "Wait Time Unit"
            model: root.model.unitCaptions
            currentIndex: root.model.waitUnit
            onActivated: index => root.model.waitUnit = index
        }
    }
}

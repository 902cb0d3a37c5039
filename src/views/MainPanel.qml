import QtQuick
import Tapeloop

// The controls beside the library, from top to bottom.
Column {
    id: root

    required property ContentViewModel model
    required property string title

    spacing: 5

    Row {
        anchors.horizontalCenter: parent.horizontalCenter
        spacing: 6

        HoverButton {
            anchors.verticalCenter: parent.verticalCenter
            width: 40
            height: 40
            symbol: "tapeloop"
            keepsColors: true
            side: 32
            label: "Information"
            tooltip: false
            available: !root.model.buttonDisabled.value
            model: root.model.information
        }

        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: root.title
            color: palette.windowText
            font.pixelSize: 20
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
    }

    Item {
        width: 1
        height: 6
    }

    Item {
        width: buttons.width
        height: buttons.height

        // Catches the presses on disabled buttons: the background below would move the window.
        MouseArea {
            anchors.fill: parent
        }

        Row {
            id: buttons

            spacing: 20

            PushButton {
                text: root.model.recordCaption.value
                font.pointSize: root.model.recordCaptionIsCallout.value ? 9 : 17
                unpressColor: root.model.unpressedColor.value
                pressColor: Colors.redPressed
                focus: true
                onClicked: root.model.recordButtonPressed()
            }

            PushButton {
                text: "Play"
                font.pointSize: 17
                unpressColor: Colors.green
                pressColor: Colors.greenPressed
                opacity: root.model.startStopOpacity.value
                enabled: !root.model.buttonDisabled.value
                onClicked: root.model.playButtonPressed()
            }
        }
    }

    Row {
        anchors.horizontalCenter: parent.horizontalCenter
        spacing: 16

        HoverButton {
            symbol: "settings"
            label: "Settings"
            available: !root.model.buttonDisabled.value
            model: root.model.settingsButton
        }

        HoverButton {
            symbol: "save"
            label: "Save Recording"
            available: !root.model.buttonDisabled.value
            model: root.model.saveButton
        }

        HoverButton {
            symbol: "sidebar"
            label: "Toggle Sidebar"
            available: !root.model.buttonDisabled.value
            model: root.model.listButton
        }
    }

    SystemPalette {
        id: palette
    }
}

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

        SymbolButton {
            anchors.verticalCenter: parent.verticalCenter
            width: 40
            height: 40
            symbol: "tapeloop"
            keepsColors: true
            side: 32
            label: "Information"
            tooltip: false
            available: !root.model.buttonDisabled
            buttonOpacity: root.model.information.buttonOpacity
            onHoverChanged: hovering => root.model.information.hover(hovering)
            onClicked: root.model.information.press()
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

        // A disabled button lets presses through; they are not for the background either.
        MouseArea {
            anchors.fill: parent
        }

        Row {
            id: buttons

            spacing: 20

            PushButton {
                text: root.model.recordCaption
                font.pointSize: root.model.recordCaptionIsCallout ? 9 : 17
                unpressColor: root.model.unpressedColor
                pressColor: Qt.rgba(180 / 255, 50 / 255, 40 / 255, 1)
                focus: true
                onClicked: root.model.recordButtonPressed()
            }

            PushButton {
                text: "Play"
                font.pointSize: 17
                unpressColor: Qt.rgba(43 / 255, 150 / 255, 72 / 255, 1)
                pressColor: Qt.rgba(0, 107 / 255, 0, 1)
                opacity: root.model.startStopOpacity
                enabled: !root.model.buttonDisabled
                onClicked: root.model.playButtonPressed()
            }
        }
    }

    Row {
        anchors.horizontalCenter: parent.horizontalCenter
        spacing: 16

        SymbolButton {
            symbol: "settings"
            label: "Settings"
            available: !root.model.buttonDisabled
            buttonOpacity: root.model.toolbar.settingsOpacity
            onHoverChanged: hovering => root.model.toolbar.hoverSettings(hovering)
            onClicked: root.model.toolbar.settingsButtonPressed()
        }

        SymbolButton {
            symbol: "save"
            label: "Save Recording"
            available: !root.model.buttonDisabled
            buttonOpacity: root.model.toolbar.saveOpacity
            onHoverChanged: hovering => root.model.toolbar.hoverSave(hovering)
            onClicked: root.model.toolbar.saveButtonPressed()
        }

        SymbolButton {
            symbol: "sidebar"
            label: "Toggle Sidebar"
            available: !root.model.buttonDisabled
            buttonOpacity: root.model.toolbar.listOpacity
            onHoverChanged: hovering => root.model.toolbar.hoverList(hovering)
            onClicked: root.model.toolbar.listButtonPressed()
        }
    }

    SystemPalette {
        id: palette
    }
}

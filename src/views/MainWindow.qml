import QtQuick
import QtQuick.Window
import Tapeloop

Window {
    id: root

    required property ContentViewModel model

    title: "Tapeloop"
    flags: Qt.Window | Qt.CustomizeWindowHint | Qt.WindowTitleHint | Qt.WindowSystemMenuHint | Qt.WindowMinimizeButtonHint | Qt.WindowCloseButtonHint
    color: palette.window
    width: panel.width + 64
    height: panel.height + 56
    minimumWidth: width
    maximumWidth: width
    minimumHeight: height
    maximumHeight: height

    SystemPalette {
        id: palette
    }

    Shortcut {
        sequence: "Escape"
        onActivated: root.model.escapeKeyPressed()
    }
    Shortcut {
        sequence: "Ctrl+Q"
        onActivated: root.close()
    }

    // The window moves with its background.
    MouseArea {
        id: background

        property point start
        property bool dragging: false

        anchors.fill: parent
        onPressed: mouse => {
            start = Qt.point(mouse.x, mouse.y);
            dragging = false;
        }
        onPositionChanged: mouse => {
            if (dragging || Math.hypot(mouse.x - start.x, mouse.y - start.y) < drag.threshold)
                return;
            dragging = true;
            root.startSystemMove();
        }
    }

    // A disabled button lets presses through; they are not for the background either.
    MouseArea {
        anchors.bottom: panel.bottom
        anchors.left: panel.left
        anchors.right: panel.right
        height: buttons.height
    }

    Column {
        id: panel

        anchors.centerIn: parent
        spacing: 22

        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: root.title
            color: palette.windowText
            font.pointSize: 15
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
            Accessible.name: text
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

    AlertWindow {
        message: "Please authorize Tapeloop by going to System Preferences -> Security & Privacy -> Privacy -> Accessibility -> Check Tapeloop."
        showing: root.model.showingAuthAlert
        onDismissed: root.model.dismissAuthAlert()
    }

    AlertWindow {
        message: "No input has been recorded yet."
        showing: root.model.showingPlayAlert
        onDismissed: root.model.dismissPlayAlert()
    }
}

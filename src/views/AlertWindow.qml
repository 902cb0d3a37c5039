import QtQuick
import QtQuick.Window

// A message that has to be dismissed before the window behind it takes input again.
Window {
    id: root

    required property string message
    property bool showing: false
    signal dismissed

    title: "Tapeloop"
    flags: Qt.Dialog | Qt.CustomizeWindowHint | Qt.WindowTitleHint | Qt.WindowCloseButtonHint
    modality: Qt.ApplicationModal
    color: palette.window
    visible: showing
    width: 360
    height: body.height + 48
    minimumWidth: width
    maximumWidth: width
    minimumHeight: height
    maximumHeight: height

    onClosing: close => {
        close.accepted = false;
        root.dismissed();
    }
    onActiveChanged: if (active)
        dismiss.forceActiveFocus(Qt.TabFocusReason)

    SystemPalette {
        id: palette
    }

    Shortcut {
        sequence: "Escape"
        onActivated: root.dismissed()
    }

    Item {
        anchors.fill: parent
        Accessible.role: Accessible.AlertMessage
        Accessible.name: root.title
        Accessible.description: root.message

        Column {
            id: body

            x: 24
            y: 24
            width: root.width - 48
            spacing: 8

            Text {
                width: parent.width
                text: root.title
                color: palette.windowText
                font.pointSize: 12
                font.weight: Font.DemiBold
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }

            Text {
                width: parent.width
                text: root.message
                color: palette.windowText
                font.pointSize: 10
                lineHeight: 1.15
                wrapMode: Text.WordWrap
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }

            Item {
                width: 1
                height: 4
            }

            PushButton {
                id: dismiss

                anchors.right: parent.right
                text: "Dismiss"
                implicitHeight: 32
                radius: 7
                font.pointSize: 10
                unpressColor: palette.highlight
                pressColor: Qt.darker(palette.highlight, 1.3)
                captionColor: palette.highlightedText
                onClicked: root.dismissed()
            }
        }
    }
}

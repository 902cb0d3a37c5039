import QtQuick
import QtQuick.Window

// A message that has to be dismissed before the window behind it takes input again.
Window {
    id: root

    required property string message
    property string heading: "Tapeloop"
    property string dismissText: "Dismiss"
    property bool showing: false
    property bool isWarning: false
    // A second button, which takes the place of the first as the default one; empty: none.
    property string defaultButton: ""
    // The column works out its own height only once the window is on the screen.
    readonly property int wantedHeight: 48 + Math.max(body.height, heading.height + (details.text === "" ? 0 : details.height + body.spacing) + 4 + dismiss.height + 2 * body.spacing)
    signal dismissed
    signal defaultPressed

    // The window manager holds a window to the limits that it knows: they change first.
    function fit() {
        minimumHeight = wantedHeight;
        maximumHeight = wantedHeight;
        height = wantedHeight;
    }

    title: "Tapeloop"
    flags: Qt.Dialog | Qt.CustomizeWindowHint | Qt.WindowTitleHint | Qt.WindowCloseButtonHint
    modality: Qt.ApplicationModal
    color: palette.window
    visible: showing
    width: Math.min(360, Screen.width)
    minimumWidth: width
    maximumWidth: width
    onWantedHeightChanged: fit()
    Component.onCompleted: fit()

    // The program, too, asks it to close at its end, when a refusal would keep the program running.
    onClosing: close => {
        if (!showing)
            return;
        close.accepted = false;
        root.dismissed();
    }
    onActiveChanged: {
        if (!active)
            return;
        const button = defaultButton === "" ? dismiss : other;
        button.forceActiveFocus(Qt.TabFocusReason);
        // It may have had the focus when the window was last closed.
        button.focusReason = Qt.TabFocusReason;
    }

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
        Accessible.name: root.heading
        Accessible.description: root.message

        Symbol {
            id: sign

            x: 24
            y: 24
            visible: root.isWarning
            name: "warning"
            keepsColors: true
            side: 40
        }

        Column {
            id: body

            x: root.isWarning ? sign.x + sign.width + 16 : 24
            y: 24
            width: root.width - x - 24
            spacing: 8

            Text {
                id: heading

                width: parent.width
                text: root.heading
                color: palette.windowText
                font.pointSize: 12
                font.weight: Font.DemiBold
                wrapMode: Text.WordWrap
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }

            Text {
                id: details

                width: parent.width
                visible: text !== ""
                text: root.message
                color: palette.windowText
                font.pointSize: 10
                lineHeight: 1.15
                wrapMode: Text.Wrap
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }

            Item {
                width: 1
                height: 4
            }

            Row {
                anchors.right: parent.right
                spacing: 12

                AlertButton {
                    id: dismiss

                    text: root.dismissText
                    isDefault: root.defaultButton === ""
                    onClicked: root.dismissed()
                }

                AlertButton {
                    id: other

                    visible: root.defaultButton !== ""
                    text: root.defaultButton
                    isDefault: true
                    Accessible.ignored: !visible
                    onClicked: root.defaultPressed()
                }
            }
        }
    }

    // The default one stands out.
    component AlertButton: PushButton {
        id: button

        required property bool isDefault
        readonly property color plain: Qt.tint(palette.button, Qt.rgba(0.5, 0.5, 0.5, 0.25))

        implicitWidth: Math.max(100, caption.width + 28)
        implicitHeight: 32
        radius: 7
        font.pointSize: 10
        unpressColor: isDefault ? palette.highlight : plain
        pressColor: Qt.darker(unpressColor, 1.3)
        captionColor: isDefault ? palette.highlightedText : palette.buttonText

        TextMetrics {
            id: caption

            font: button.font
            text: button.text
        }
    }
}

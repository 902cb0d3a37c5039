import QtQuick
import QtQuick.Window

// A modal message. Until it is dismissed no other window of the program takes input.
Window {
    id: root

    required property string message
    property string heading: "Tapeloop"
    property string dismissText: "Dismiss"
    property bool showing: false
    property bool isWarning: false
    // The caption of a second button, which is then the default one; empty: there is none.
    property string defaultButton: ""
    // Before the window is shown `body.height` is not known yet, so its rows are added up here.
    readonly property int wantedHeight: 48 + Math.max(body.height, heading.height + (details.text === "" ? 0 : details.height + body.spacing) + 4 + dismiss.height + 2 * body.spacing)
    signal dismissed
    signal defaultPressed

    // The limits change before the height: the window manager enforces those that it knows.
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

    // The close button only dismisses; the binding of `showing` then closes the window. Once `showing`
    // is false the window closes: refusing would keep the program running at its end.
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
        // If the button already had the focus, forceActiveFocus does not set the reason.
        button.focusReason = Qt.TabFocusReason;
    }

    SystemPalette {
        id: palette
    }

    Item {
        anchors.fill: parent
        // Not a Shortcut: in Qt 6.8 that of a hidden window stays active as long as the window it
        // belongs to has the focus, or any other of its dialogs, and two for one key do nothing.
        Keys.onEscapePressed: root.dismissed()
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

    // The default button has the highlight colour.
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

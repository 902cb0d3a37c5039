import QtQuick
import QtQuick.Templates as T
import Tapeloop

// A tinted box with the field that shows a shortcut and, while it has the keyboard, takes the next
// one that is typed.
Rectangle {
    id: root

    required property RecorderModel recorder
    required property bool dark

    readonly property color tint: dark ? recorder.tintOnDark : recorder.tint

    implicitWidth: field.width + 20
    implicitHeight: column.height + 20
    radius: 11
    color: Qt.rgba(tint.r, tint.g, tint.b, 0.15)

    Column {
        id: column

        x: 10
        y: 10
        spacing: 6

        Text {
            width: field.width
            horizontalAlignment: Text.AlignHCenter
            text: root.recorder.caption
            color: palette.windowText
            font.pointSize: 10
            Accessible.ignored: true
        }

        T.TextField {
            id: field

            implicitWidth: Math.max(root.recorder.minimumWidth, contentWidth + 52)
            implicitHeight: 26
            leftPadding: 22
            rightPadding: 22
            horizontalAlignment: TextInput.AlignHCenter
            verticalAlignment: TextInput.AlignVCenter
            readOnly: true
            selectByMouse: false
            text: root.recorder.text.value
            // Screen readers get it as the description.
            placeholderText: root.recorder.placeholder.value
            color: field.palette.windowText
            font.pointSize: 10
            cursorDelegate: Item {}
            Accessible.name: root.recorder.caption
            Component.onCompleted: root.recorder.setField(field)
            onActiveFocusChanged: {
                if (activeFocus)
                    root.recorder.becomeFirstResponder();
                else
                    root.recorder.resignFirstResponder();
            }

            background: Rectangle {
                radius: 6
                color: field.palette.base
                border.color: Qt.rgba(0.5, 0.5, 0.5, 0.55)
            }

            Text {
                anchors.centerIn: parent
                visible: field.length === 0
                text: field.placeholderText
                color: field.palette.windowText
                opacity: 0.6
                font: field.font
                Accessible.ignored: true
            }

            // Acts on the press: while the field records, the recorder consumes the release.
            Item {
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                width: 24
                height: parent.height
                visible: root.recorder.showsCancelButton.value
                Accessible.role: Accessible.Button
                Accessible.name: "Clear " + root.recorder.caption
                Accessible.onPressAction: root.recorder.cancelButtonPressed()

                Symbol {
                    anchors.centerIn: parent
                    name: "close"
                    side: 12
                    opacity: area.containsMouse ? 1 : 0.6
                }

                MouseArea {
                    id: area

                    anchors.fill: parent
                    hoverEnabled: true
                    onPressed: root.recorder.cancelButtonPressed()
                }
            }
        }
    }

    Connections {
        target: root.recorder

        function onFocusRequested(wanted) {
            if (wanted)
                field.forceActiveFocus(Qt.OtherFocusReason);
            else
                field.focus = false;
        }
    }

    AlertWindow {
        isWarning: true
        heading: root.recorder.alertTitle.value
        message: root.recorder.alertText.value
        dismissText: "OK"
        showing: root.recorder.showingAlert.value
        onDismissed: root.recorder.dismissAlert()
    }

    SystemPalette {
        id: palette
    }
}

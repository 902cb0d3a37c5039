import QtQuick
import Tapeloop

// A tinted box with the field in which a shortcut is typed.
Rectangle {
    id: root

    required property string caption
    required property color tint
    required property RecorderModel model

    implicitWidth: field.width + 20
    implicitHeight: column.height + 20
    radius: 11
    color: tint

    Column {
        id: column

        x: 10
        y: 10
        spacing: 6

        Text {
            width: field.width
            horizontalAlignment: Text.AlignHCenter
            text: root.caption
            color: palette.windowText
            font.pointSize: 10
            Accessible.ignored: true
        }

        RecorderField {
            id: field

            name: root.caption
            model: root.model
        }
    }

    SystemPalette {
        id: palette
    }
}

import QtQuick

// Shown around the control that has the keyboard focus.
Rectangle {
    id: root

    required property Item control
    required property real controlRadius

    property real gap: 3

    x: -gap
    y: -gap
    width: control.width + 2 * gap
    height: control.height + 2 * gap
    radius: controlRadius + gap
    color: "transparent"
    border.width: 2
    border.color: palette.highlight

    SystemPalette {
        id: palette
    }
}

import QtQuick

// What stands beside the controls of the settings.
Text {
    id: root

    color: enabled ? palette.windowText : Qt.rgba(0.5, 0.5, 0.5, 1)
    font.pointSize: 10
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    SystemPalette {
        id: palette
    }
}

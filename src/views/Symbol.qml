import QtQuick

// A symbol of the program, tinted unless it keeps its own colours.
Image {
    id: root

    required property string name
    property bool keepsColors: false
    property color tint: palette.windowText
    property int side: 20

    width: side
    height: side
    sourceSize.width: side
    sourceSize.height: side
    source: "image://symbols/" + name + (keepsColors ? "" : "/" + String(tint).slice(1))

    SystemPalette {
        id: palette
    }
}

import QtQuick

// One of the program's symbols, in a colour of the palette unless it keeps its own.
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

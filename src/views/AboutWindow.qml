import QtQuick
import QtQuick.Window

Window {
    id: root

    title: "About Tapeloop"
    flags: Qt.Dialog | Qt.CustomizeWindowHint | Qt.WindowTitleHint | Qt.WindowCloseButtonHint
    color: palette.window
    // Setting the limits resizes the window, so they must not depend on its size.
    readonly property int fixedWidth: 300
    readonly property int fixedHeight: body.height + 48
    width: fixedWidth
    height: fixedHeight
    minimumWidth: fixedWidth
    maximumWidth: fixedWidth
    minimumHeight: fixedHeight
    maximumHeight: fixedHeight

    SystemPalette {
        id: palette
    }

    // No Shortcut, for the reason in AlertWindow.
    Item {
        focus: true
        Keys.onPressed: event => {
            const closes = event.modifiers === Qt.ControlModifier ? [Qt.Key_W]
                : [Qt.Key_Escape, Qt.Key_Return, Qt.Key_Enter, Qt.Key_Space];
            if (closes.includes(event.key))
                root.close();
        }
    }

    Column {
        id: body

        anchors.centerIn: parent
        spacing: 8

        Symbol {
            anchors.horizontalCenter: parent.horizontalCenter
            name: "tapeloop"
            keepsColors: true
            side: 64
        }

        Line {
            text: "Tapeloop"
            font.pointSize: 15
            font.weight: Font.DemiBold
        }

        Line {
            text: "Version " + Qt.application.version
        }

        Line {
            text: "Copyright © 2026 The Tapeloop authors"
        }

        Line {
            text: "Free software under the MIT licence"
        }
    }

    component Line: Text {
        anchors.horizontalCenter: parent.horizontalCenter
        color: palette.windowText
        font.pointSize: 10
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}

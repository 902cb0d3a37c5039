pragma ComponentBehavior: Bound

import QtQuick
import Tapeloop

// Replaces the title bar, which is hidden: the program's menu, minimise and close.
Item {
    id: root

    required property MenuModel menuModel
    readonly property alias menuIsOpen: menu.opened
    signal closeRequested
    signal minimiseRequested

    function openMenu(at: point) {
        menu.popup(at.x, at.y);
    }

    implicitHeight: 30

    // Covers the content that is scrolled up.
    Rectangle {
        anchors.fill: parent
        color: palette.window
    }

    SystemPalette {
        id: palette
    }

    // The keys of the menu work in every window of the program.
    Repeater {
        model: root.menuModel.titles

        Item {
            id: item

            required property int index

            Shortcut {
                sequences: root.menuModel.keySequences(item.index)
                context: Qt.ApplicationShortcut
                onActivated: root.menuModel.keyPressed(item.index)
            }
        }
    }

    SymbolButton {
        id: menuButton

        x: 3
        anchors.verticalCenter: parent.verticalCenter
        width: 26
        height: 26
        side: 16
        symbol: "menu"
        label: "Menu"
        onClicked: menu.popup(menuButton, 0, menuButton.height)

        PopupMenu {
            id: menu

            Repeater {
                model: root.menuModel.titles

                MenuRow {
                    required property int index
                    required property string modelData

                    text: modelData
                    keys: root.menuModel.keys[index]
                    onTriggered: root.menuModel.choose(index)
                }
            }
        }
    }

    Row {
        anchors.right: parent.right
        anchors.rightMargin: 3
        anchors.verticalCenter: parent.verticalCenter

        SymbolButton {
            width: 26
            height: 26
            side: 16
            symbol: "minimise"
            label: "Minimise"
            onClicked: root.minimiseRequested()
        }

        SymbolButton {
            width: 26
            height: 26
            side: 16
            symbol: "close"
            label: "Close"
            onClicked: root.closeRequested()
        }
    }
}

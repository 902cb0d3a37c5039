pragma ComponentBehavior: Bound

import QtQuick
import Tapeloop

// The keys of the program's menu, in every window of it.
Item {
    id: root

    required property MenuModel model

    Repeater {
        model: root.model.titles

        Item {
            id: item

            required property int index

            Shortcut {
                sequences: root.model.keySequences(item.index)
                context: Qt.ApplicationShortcut
                onActivated: root.model.keyPressed(item.index)
            }
        }
    }
}

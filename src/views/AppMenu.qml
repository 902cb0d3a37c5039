pragma ComponentBehavior: Bound

import QtQuick
import Tapeloop

// The menu of the program.
PopupMenu {
    id: root

    required property MenuModel model

    Repeater {
        model: root.model.titles

        MenuRow {
            required property int index
            required property string modelData

            text: modelData
            keys: root.model.keys[index]
            onTriggered: root.model.choose(index)
        }
    }
}

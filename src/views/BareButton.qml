import QtQuick
import QtQuick.Templates as T

// A button without a look of its own.
T.Button {
    id: root

    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    // Qt tells nobody that an item is disabled.
    Accessible.description: enabled ? "" : "Unavailable"
    Accessible.onPressAction: if (enabled)
        root.clicked()
    // A click leaves the focus behind unseen, as the start of the program does: no key acts on that.
    Keys.onPressed: event => {
        const isReturn = event.key === Qt.Key_Return || event.key === Qt.Key_Enter;
        if (!isReturn && event.key !== Qt.Key_Space && event.key !== Qt.Key_Select)
            return;
        // The template answers to Space itself.
        event.accepted = isReturn || !visualFocus;
        if (isReturn && visualFocus)
            root.clicked();
    }
}

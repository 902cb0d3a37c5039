import QtQuick
import QtQuick.Templates as T

// The behaviour of all buttons; users of it draw them.
T.Button {
    id: root

    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    // Qt does not report to screen readers that an item is disabled.
    Accessible.description: enabled ? "" : "Unavailable"
    Accessible.onPressAction: if (enabled)
        root.clicked()
    // After a click, and at the start, the button has the focus without a visible ring: keys must not
    // press it then.
    Keys.onPressed: event => {
        const isReturn = event.key === Qt.Key_Return || event.key === Qt.Key_Enter;
        if (!isReturn && event.key !== Qt.Key_Space && event.key !== Qt.Key_Select)
            return;
        // The template handles Space itself; accepting the event keeps it from doing so.
        event.accepted = isReturn || !visualFocus;
        if (isReturn && visualFocus)
            root.clicked();
    }
}

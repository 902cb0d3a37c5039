import QtQuick
import QtQuick.Templates as T

// The name of a recording. Until it is clicked, dragging it drags the row.
T.TextField {
    id: root

    required property string name
    property bool tabbable: true
    signal nameEdited(string text)
    signal committed
    signal menuRequested(point at)

    implicitHeight: 20
    padding: 0
    leftPadding: 4
    verticalAlignment: TextInput.AlignVCenter
    text: name
    font.pointSize: 11
    color: palette.windowText
    selectionColor: palette.highlight
    selectedTextColor: palette.highlightedText
    selectByMouse: true
    // The default limit of 32767 would cut longer names.
    maximumLength: 0x7fffffff
    activeFocusOnTab: tabbable
    clip: true
    Accessible.name: "Recording Name"
    onTextEdited: root.nameEdited(text)
    onAccepted: root.committed()
    onNameChanged: if (text !== name)
        text = name
    // Shows the beginning of a name that is longer than the field.
    onTextChanged: if (!activeFocus)
        cursorPosition = 0
    onActiveFocusChanged: if (!activeFocus)
        cursorPosition = 0

    Text {
        anchors.fill: parent
        leftPadding: root.leftPadding
        verticalAlignment: Text.AlignVCenter
        visible: root.length === 0 && root.preeditText === ""
        text: "Recording Name"
        color: root.palette.windowText
        opacity: 0.5
        font: root.font
        elide: Text.ElideRight
        Accessible.ignored: true
    }

    MouseArea {
        anchors.fill: parent
        acceptedButtons: root.activeFocus ? Qt.RightButton : Qt.LeftButton | Qt.RightButton
        cursorShape: root.activeFocus ? Qt.IBeamCursor : Qt.ArrowCursor
        onClicked: mouse => {
            if (mouse.button === Qt.RightButton) {
                root.menuRequested(Qt.point(mouse.x, mouse.y));
                return;
            }
            root.forceActiveFocus(Qt.MouseFocusReason);
            root.cursorPosition = root.positionAt(mouse.x, mouse.y);
        }
        onDoubleClicked: mouse => {
            if (mouse.button === Qt.RightButton)
                return;
            root.forceActiveFocus(Qt.MouseFocusReason);
            root.selectAll();
        }
    }
}

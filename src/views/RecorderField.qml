import QtQuick
import QtQuick.Templates as T
import Tapeloop

// Shows a shortcut, and takes the next one that is typed while it has the keyboard.
T.TextField {
    id: root

    required property string name
    required property RecorderModel model

    implicitWidth: Math.max(model.minimumWidth, contentWidth + 52)
    implicitHeight: 26
    leftPadding: 22
    rightPadding: 22
    horizontalAlignment: TextInput.AlignHCenter
    verticalAlignment: TextInput.AlignVCenter
    readOnly: true
    selectByMouse: false
    text: model.text
    // Read to screen readers as its description, too.
    placeholderText: model.placeholder
    color: root.palette.windowText
    font.pointSize: 10
    cursorDelegate: Item {}
    Accessible.name: name

    Component.onCompleted: model.setField(root)
    onActiveFocusChanged: {
        if (activeFocus)
            model.becomeFirstResponder();
        else
            model.resignFirstResponder();
    }

    background: Rectangle {
        radius: 6
        color: root.palette.base
        border.color: Qt.rgba(0.5, 0.5, 0.5, 0.55)
    }

    Text {
        anchors.centerIn: parent
        visible: root.length === 0
        text: root.placeholderText
        color: root.palette.windowText
        opacity: 0.6
        font: root.font
        Accessible.ignored: true
    }

    // It acts when it is pressed: while the field records, releases stay with the field.
    Item {
        id: cancel

        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        width: 24
        height: parent.height
        visible: root.model.showsCancelButton
        Accessible.role: Accessible.Button
        Accessible.name: "Clear " + root.name
        Accessible.onPressAction: root.model.cancelButtonPressed()

        Symbol {
            anchors.centerIn: parent
            name: "close"
            side: 12
            opacity: area.containsMouse ? 1 : 0.6
        }

        MouseArea {
            id: area

            anchors.fill: parent
            hoverEnabled: true
            onPressed: root.model.cancelButtonPressed()
        }
    }

    Connections {
        target: root.model

        function onFocusRequested(wanted) {
            if (wanted)
                root.forceActiveFocus(Qt.OtherFocusReason);
            else
                root.focus = false;
        }
    }
}

import QtQuick
import QtQuick.Templates as T

// A caption on a rounded rectangle. Its accessible name is the caption.
T.Button {
    id: root

    required property color pressColor
    required property color unpressColor
    property color captionColor: "white"
    property real radius: 12

    implicitWidth: 100
    implicitHeight: 50
    padding: 5
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus

    // Qt tells nobody that an item is disabled.
    Accessible.description: enabled ? "" : "Unavailable"
    Accessible.onPressAction: if (enabled)
        root.clicked()
    // A click leaves the focus behind unseen; Return is not to act on that once more.
    Keys.enabled: visualFocus
    Keys.onReturnPressed: root.clicked()
    Keys.onEnterPressed: root.clicked()

    contentItem: Text {
        text: root.text
        font: root.font
        color: root.captionColor
        wrapMode: Text.WordWrap
        fontSizeMode: Text.Fit
        minimumPointSize: 7
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }

    background: Rectangle {
        radius: root.radius
        color: root.down ? root.pressColor : root.unpressColor

        // Under the pointer the button is a little lighter.
        Rectangle {
            anchors.fill: parent
            radius: root.radius
            color: "white"
            opacity: root.hovered && root.enabled && !root.down ? 0.12 : 0
        }

        FocusRing {
            control: root
            controlRadius: root.radius
            visible: root.visualFocus
        }
    }
}

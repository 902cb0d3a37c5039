import QtQuick

// A caption on a rounded rectangle. Its accessible name is the caption.
BareButton {
    id: root

    required property color pressColor
    required property color unpressColor
    property color captionColor: "white"
    property real radius: 12

    implicitWidth: 100
    implicitHeight: 50
    padding: 5

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

        FocusRing {
            control: root
            controlRadius: root.radius
            visible: root.visualFocus
        }
    }
}

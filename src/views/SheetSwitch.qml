import QtQuick
import QtQuick.Templates as T
import Tapeloop

// A setting that is on or off. Its accessible name is the caption. T.Switch is not used: it becomes
// checkable in its constructor, before it belongs to an engine, and Qt never frees the accessibility
// object that it then makes.
T.AbstractButton {
    id: root

    function flip() {
        toggle();
        toggled();
    }

    implicitWidth: contentItem.implicitWidth
    implicitHeight: 24
    spacing: 10
    font.pointSize: 10
    focusPolicy: Qt.StrongFocus
    checkable: true
    hoverEnabled: true
    Accessible.role: Accessible.CheckBox
    Accessible.description: enabled ? "" : "Unavailable"
    // The default action emits `clicked` without toggling.
    Accessible.onPressAction: flip()
    Accessible.onToggleAction: flip()

    contentItem: Text {
        text: root.text
        font: root.font
        color: root.enabled ? root.palette.windowText : Qt.rgba(0.5, 0.5, 0.5, 1)
        rightPadding: root.indicator.width + root.spacing
        verticalAlignment: Text.AlignVCenter
    }

    indicator: Rectangle {
        x: root.width - width
        anchors.verticalCenter: parent.verticalCenter
        width: 34
        height: 20
        radius: 10
        color: root.checked ? Colors.green : Qt.rgba(0.5, 0.5, 0.5, 0.5)
        opacity: root.enabled ? 1 : 0.45

        Rectangle {
            x: root.checked ? 16 : 2
            y: 2
            width: 16
            height: 16
            radius: 8
            color: root.hovered ? "white" : Qt.rgba(0.95, 0.95, 0.95, 1)
        }

        FocusRing {
            control: root.indicator
            controlRadius: 10
            visible: root.visualFocus
        }
    }
}

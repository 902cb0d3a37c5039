import QtQuick
import QtQuick.Templates as T

// A slider for a number. `edited` may be given a value beyond the range. `keyStep` is what an arrow
// key adds.
T.Slider {
    id: root

    required property string name
    required property real setting
    required property real keyStep
    signal edited(real to)

    function step(by: real) {
        edited(setting + by);
    }

    implicitWidth: 100
    implicitHeight: 24
    value: setting
    live: true
    snapMode: stepSize > 0 ? T.Slider.SnapAlways : T.Slider.NoSnap
    focusPolicy: Qt.StrongFocus
    Accessible.name: name
    Accessible.description: enabled ? "" : "Unavailable"
    Accessible.onIncreaseAction: step(keyStep)
    Accessible.onDecreaseAction: step(-keyStep)
    // Moved by the pointer, or by a screen reader, which sets `value` directly.
    onValueChanged: if (value !== setting)
        edited(value)
    Keys.onLeftPressed: step(-keyStep)
    Keys.onDownPressed: step(-keyStep)
    Keys.onRightPressed: step(keyStep)
    Keys.onUpPressed: step(keyStep)
    Keys.onPressed: event => {
        if (event.key === Qt.Key_Home)
            edited(from);
        else if (event.key === Qt.Key_End)
            edited(to);
        else
            return;
        event.accepted = true;
    }

    background: Rectangle {
        y: (root.height - height) / 2
        width: root.width
        height: 4
        radius: 2
        color: Qt.rgba(0.5, 0.5, 0.5, 0.45)

        Rectangle {
            width: root.visualPosition * parent.width
            height: parent.height
            radius: 2
            color: root.enabled ? root.palette.highlight : Qt.rgba(0.5, 0.5, 0.5, 0.6)
        }
    }

    handle: Rectangle {
        x: root.visualPosition * (root.width - width)
        y: (root.height - height) / 2
        width: 16
        height: 16
        radius: 8
        color: root.enabled ? (root.hovered || root.pressed ? "white" : Qt.rgba(0.95, 0.95, 0.95, 1)) : Qt.rgba(0.7, 0.7, 0.7, 1)
        border.color: Qt.rgba(0.35, 0.35, 0.35, root.enabled ? 0.8 : 0.3)

        FocusRing {
            control: root.handle
            controlRadius: 8
            visible: root.visualFocus
        }
    }
}

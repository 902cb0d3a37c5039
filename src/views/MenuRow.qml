import QtQuick
import QtQuick.Templates as T

// An item of a menu. Without a text it is a separator.
T.MenuItem {
    id: root

    property string keys: ""
    readonly property bool isLine: text === ""

    enabled: !isLine
    implicitWidth: 182
    implicitHeight: isLine ? 9 : 28
    leftPadding: 10
    rightPadding: 10
    Accessible.role: isLine ? Accessible.Separator : Accessible.MenuItem
    Accessible.onPressAction: {
        root.triggered();
        root.menu?.dismiss();
    }

    contentItem: Item {
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: root.text
            color: root.highlighted ? root.palette.highlightedText : root.palette.windowText
            font.pointSize: 10
            Accessible.ignored: true
        }

        Text {
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: root.keys
            color: root.highlighted ? root.palette.highlightedText : root.palette.windowText
            opacity: 0.6
            font.pointSize: 9
            Accessible.ignored: true
        }
    }

    background: Rectangle {
        radius: 4
        color: root.highlighted ? root.palette.highlight : "transparent"

        Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            visible: root.isLine
            width: parent.width
            height: 1
            color: Qt.rgba(0.5, 0.5, 0.5, 0.5)
        }
    }
}

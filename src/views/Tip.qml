import QtQuick
import QtQuick.Templates as T

T.ToolTip {
    id: root

    required property Item control

    parent: control
    x: (control.width - implicitWidth) / 2
    y: control.height + 1
    implicitWidth: contentItem.implicitWidth + 14
    implicitHeight: contentItem.implicitHeight + 8
    margins: 4
    delay: 700
    closePolicy: T.Popup.CloseOnPressOutsideParent | T.Popup.CloseOnReleaseOutsideParent

    contentItem: Text {
        text: root.text
        color: root.palette.toolTipText
        font.pointSize: 9
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }

    background: Rectangle {
        color: root.palette.toolTipBase
        border.color: Qt.rgba(0.5, 0.5, 0.5, 0.6)
        radius: 4
    }

}

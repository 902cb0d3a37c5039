import QtQuick
import QtQuick.Templates as T

// A borderless button with a symbol. The label is its tooltip and its accessible name.
FocusScope {
    id: root

    required property string symbol
    required property string label
    property bool available: true
    property bool keepsColors: false
    property bool tooltip: true
    property bool tabbable: true
    property int side: 20
    property real buttonOpacity: 1
    signal clicked
    signal hoverChanged(bool hovering)
    // The focus ring comes or goes.
    signal focusSeen(bool seen)

    implicitWidth: 32
    implicitHeight: 32

    // Outside of the button, which reports no hovering while it is disabled.
    HoverHandler {
        id: pointer

        onHoveredChanged: root.hoverChanged(hovered)
    }

    // Catches the presses on a disabled button: what lies below must not get them.
    MouseArea {
        anchors.fill: parent
    }

    BareButton {
        id: button

        anchors.fill: parent
        text: root.label
        enabled: root.available
        focus: true
        focusPolicy: root.tabbable ? Qt.StrongFocus : Qt.ClickFocus
        onClicked: root.clicked()
        onVisualFocusChanged: root.focusSeen(visualFocus)

        // The content is transparent, not the button: screen readers ignore an item with opacity 0.
        contentItem: Item {
            opacity: root.buttonOpacity

            Symbol {
                anchors.centerIn: parent
                name: root.symbol
                keepsColors: root.keepsColors
                side: root.side
                opacity: button.enabled ? (button.down ? 0.5 : 1) : 0.3
            }
        }

        background: Item {
            FocusRing {
                control: button
                controlRadius: 5
                gap: -1
                visible: button.visualFocus
            }
        }

        T.ToolTip {
            id: tip

            parent: button
            x: (button.width - implicitWidth) / 2
            y: button.height + 1
            implicitWidth: contentItem.implicitWidth + 14
            implicitHeight: contentItem.implicitHeight + 8
            margins: 4
            delay: 700
            closePolicy: T.Popup.CloseOnPressOutsideParent | T.Popup.CloseOnReleaseOutsideParent
            text: root.label
            visible: root.tooltip && root.enabled && pointer.hovered && !button.down

            contentItem: Text {
                text: tip.text
                color: tip.palette.toolTipText
                font.pointSize: 9
                horizontalAlignment: Text.AlignHCenter
                verticalAlignment: Text.AlignVCenter
            }
            background: Rectangle {
                color: tip.palette.toolTipBase
                border.color: Qt.rgba(0.5, 0.5, 0.5, 0.6)
                radius: 4
            }
        }
    }
}

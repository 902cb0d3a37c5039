pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T

// One of several choices, which pop up over the sheet.
T.ComboBox {
    id: root

    required property string name
    required property real leastWidth
    // Shown when the stored value is none of the choices.
    property string otherChoice: ""
    readonly property string choice: currentIndex < 0 || currentIndex >= count ? otherChoice : displayText

    implicitWidth: Math.max(leastWidth, implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: 26
    implicitContentWidthPolicy: T.ComboBox.WidestText
    leftPadding: 9
    rightPadding: 20
    font.pointSize: 10
    focusPolicy: Qt.StrongFocus
    Accessible.name: name
    // Qt reports no value of a combo box to screen readers, so the description holds it: the choice,
    // or the highlighted one while the list is open.
    Accessible.description: (popup.visible && highlightedIndex >= 0 ? textAt(highlightedIndex) : choice) + (enabled ? "" : ", Unavailable")
    Accessible.onPressAction: if (enabled)
        popup.open()

    contentItem: Text {
        text: root.choice
        font: root.font
        color: root.enabled ? root.palette.windowText : Qt.rgba(0.5, 0.5, 0.5, 1)
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
        Accessible.ignored: true
    }

    indicator: Canvas {
        x: root.width - width - 7
        anchors.verticalCenter: parent.verticalCenter
        width: 8
        height: 5
        opacity: root.enabled ? 0.8 : 0.35
        readonly property color ink: root.palette.windowText
        onInkChanged: requestPaint()
        onPaint: {
            const context = getContext("2d");
            context.reset();
            context.strokeStyle = ink;
            context.lineWidth = 1.5;
            context.moveTo(1, 0.5);
            context.lineTo(4, 4);
            context.lineTo(7, 0.5);
            context.stroke();
        }
    }

    background: Rectangle {
        radius: 6
        color: Qt.rgba(0.5, 0.5, 0.5, root.hovered || root.down ? 0.32 : 0.2)
        opacity: root.enabled ? 1 : 0.6

        FocusRing {
            control: root
            controlRadius: 6
            gap: 2
            visible: root.visualFocus
        }
    }

    delegate: T.ItemDelegate {
        id: choice

        required property int index

        width: ListView.view ? ListView.view.width : 0
        implicitHeight: 24
        text: root.textAt(index)
        highlighted: root.highlightedIndex === index

        contentItem: Text {
            leftPadding: 8
            text: choice.text
            font: root.font
            color: choice.highlighted ? root.palette.highlightedText : root.palette.windowText
            verticalAlignment: Text.AlignVCenter
        }

        background: Rectangle {
            radius: 4
            color: choice.highlighted ? root.palette.highlight : "transparent"
        }
    }

    popup: T.Popup {
        y: root.height + 2
        width: root.width
        height: Math.min(contentItem.implicitHeight + 8, 200)
        margins: 4
        padding: 4

        contentItem: ListView {
            clip: true
            implicitHeight: contentHeight
            model: root.delegateModel
            currentIndex: root.highlightedIndex
            boundsBehavior: Flickable.StopAtBounds

            T.ScrollBar.vertical: ThinScrollBar {}
        }

        background: Rectangle {
            color: root.palette.window
            border.color: Qt.rgba(0.5, 0.5, 0.5, 0.6)
            radius: 6
        }
    }
}

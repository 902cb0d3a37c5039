import QtQuick

// A button of an alert. The default one stands out.
PushButton {
    id: root

    required property bool isDefault
    readonly property color plain: Qt.tint(palette.button, Qt.rgba(0.5, 0.5, 0.5, 0.25))

    implicitWidth: Math.max(100, caption.width + 28)
    implicitHeight: 32
    radius: 7
    font.pointSize: 10
    unpressColor: isDefault ? palette.highlight : plain
    pressColor: Qt.darker(unpressColor, 1.3)
    captionColor: isDefault ? palette.highlightedText : palette.buttonText

    TextMetrics {
        id: caption

        font: root.font
        text: root.text
    }
}

import QtQuick
import Tapeloop

// The steps that give the program the permission to observe and post input.
Rectangle {
    id: root

    required property InformationButtonModel model
    // What this desktop lacks, and what to do about it; empty: nothing.
    required property string reason

    implicitWidth: 480
    implicitHeight: Math.max(300, body.height + 20)
    color: palette.window

    SystemPalette {
        id: palette
    }

    ScrollArea {
        id: scroll

        anchors.fill: parent
        contentWidth: Math.max(width, root.implicitWidth)
        contentHeight: Math.max(height, root.implicitHeight)

        Column {
            id: body

            y: 20
            width: scroll.contentWidth
            spacing: 6

            Line {
                text: "Authorize Tapeloop"
                font.pointSize: 17
                font.bold: true
                Accessible.role: Accessible.Heading
            }

            HoverButton {
                anchors.horizontalCenter: parent.horizontalCenter
                width: 68
                height: 68
                symbol: "tapeloop"
                keepsColors: true
                side: 64
                label: "Information"
                tooltip: false
                model: root.model
            }

            Line {
                text: "Tapeloop needs your permission to record and play back your inputs. Follow these steps to authorize it:"
                leftPadding: 40
                rightPadding: 40
                topPadding: 5
                bottomPadding: 5
            }

            Repeater {
                model: ["Go to System Preferences", "Security & Privacy", "Privacy", "Accessibility", "Check Tapeloop"]

                Rectangle {
                    id: step

                    required property string modelData

                    anchors.horizontalCenter: parent.horizontalCenter
                    width: caption.implicitWidth
                    height: caption.implicitHeight
                    radius: 10
                    color: "transparent"
                    border.width: 2
                    border.color: Qt.rgba(0.5, 0.5, 0.5, 0.8)

                    Text {
                        id: caption

                        leftPadding: 20
                        rightPadding: 20
                        topPadding: 7
                        bottomPadding: 7
                        text: step.modelData
                        color: palette.windowText
                        font.pointSize: 9
                        Accessible.role: Accessible.StaticText
                        Accessible.name: text
                    }
                }
            }

            Line {
                text: "If the checkbox is disabled,\nclick the padlock and enter your password."
                topPadding: 4
                bottomPadding: root.reason === "" ? 20 : 4
            }

            Line {
                visible: text !== ""
                text: root.reason
                font.weight: Font.DemiBold
                leftPadding: 40
                rightPadding: 40
                bottomPadding: 20
            }
        }
    }

    InformationAlert {
        model: root.model
    }

    component Line: Text {
        width: parent.width
        color: palette.windowText
        font.pointSize: 10
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.WordWrap
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}

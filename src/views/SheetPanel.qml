import QtQuick

// A grey panel around some of the settings.
Rectangle {
    id: root

    default property alias rows: column.data

    implicitHeight: column.height + 20
    radius: 11
    color: Qt.rgba(0.5, 0.5, 0.5, 0.15)

    Column {
        id: column

        y: 10
        width: parent.width
        spacing: 8
    }
}

import QtQuick

// Makes its content when that is first wanted, and keeps it: the window is on the screen sooner
// without what few look at.
Loader {
    id: root

    required property bool wanted

    active: false
    onWantedChanged: active = active || wanted
    Component.onCompleted: active = wanted
}

import QtQuick
import QtQuick.Window
import Tapeloop

Window {
    id: root

    required property ContentViewModel model

    property bool movableByBackground: false
    readonly property bool dark: palette.window.hslLightness < 0.5
    readonly property SettingsSheet sheet: sheetLoader.item as SettingsSheet
    readonly property bool showsSheet: sheet !== null && sheet.visible
    readonly property bool sheetIsModal: sheet !== null && sheet.modal
    readonly property int wantedWidth: Math.max(controls.contentWidth, showsSheet ? sheet.implicitWidth : 0)
    readonly property int wantedHeight: titleBar.height + Math.max(controls.contentHeight, showsSheet ? sheet.implicitHeight + (sidebar.visible ? 16 : 0) : 0)

    title: "Tapeloop"
    flags: Qt.Window | Qt.FramelessWindowHint | Qt.WindowMinimizeButtonHint | Qt.WindowCloseButtonHint
    color: palette.window

    WindowFit {
        window: root
        wantedSize: Qt.size(root.wantedWidth, root.wantedHeight)
    }

    SystemPalette {
        id: palette
    }

    Shortcut {
        sequence: "F10"
        onActivated: titleBar.openMenu(Qt.point(4, titleBar.height))
    }

    WindowBackground {
        anchors.fill: parent
        movable: root.movableByBackground
        onMenuRequested: at => titleBar.openMenu(at)
    }

    ScrollArea {
        id: controls

        enabled: !root.sheetIsModal
        y: titleBar.height
        width: root.width
        height: root.height - y
        contentWidth: sidebar.x + (sidebar.visible ? sidebar.width + 20 : 0)
        contentHeight: Math.max(panel.height, sidebar.height) + 24
        clip: interactive

        MainPanel {
            id: panel

            x: 30
            model: root.model
            title: root.title
        }

        LibrarySidebar {
            id: sidebar

            x: panel.width + 60
            y: 4
            model: root.model.library
            available: !root.model.buttonDisabled.value
        }
    }

    // Loaded when it is first shown, so that the window appears sooner.
    Loader {
        id: sheetLoader

        y: titleBar.height
        width: root.width
        height: root.height - y

        Connections {
            target: root.model.sheet.shown
            enabled: root.sheet === null

            function onChanged() {
                sheetLoader.setSource("SettingsSheet.qml", {
                    model: root.model.sheet,
                    dark: Qt.binding(() => root.dark),
                    floats: Qt.binding(() => sidebar.visible)
                });
                root.sheet.open();
            }
        }
    }

    TitleBar {
        id: titleBar

        width: root.width
        menuModel: root.model.menu
        onCloseRequested: root.close()
        onMinimiseRequested: root.showMinimized()
    }

    DropZone {
        width: Math.min(sidebar.x, root.width)
        height: root.height
        model: root.model.library
        dark: root.dark
    }

    Toast {
        anchors.centerIn: parent
        title: "Recording Saved"
        showing: root.model.library.showToastSaved.value
        dark: root.dark
        onTapped: root.model.library.tapToastSaved()
    }

    Toast {
        anchors.centerIn: parent
        title: "Recording Loaded"
        showing: root.model.library.showToastLoaded.value
        dark: root.dark
        onTapped: root.model.library.tapToastLoaded()
    }

    // A border: without a compositor the window has no shadow that sets it off.
    Rectangle {
        anchors.fill: parent
        color: "transparent"
        border.color: Qt.rgba(0.5, 0.5, 0.5, 0.7)
    }

    MainAlerts {
        model: root.model
    }

    Loader {
        id: about

        active: false
        sourceComponent: AboutWindow {}

        Connections {
            target: root.model.menu

            function onAboutPanelRequested() {
                about.active = true;
                (about.item as AboutWindow).show();
                (about.item as AboutWindow).requestActivate();
            }
        }
    }
}

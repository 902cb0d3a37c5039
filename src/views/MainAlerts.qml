import QtQuick
import Tapeloop

// The alerts of the main window.
Item {
    id: root

    required property ContentViewModel model

    AlertWindow {
        message: "Please authorize Tapeloop by going to System Preferences -> Security & Privacy -> Privacy -> Accessibility -> Check Tapeloop."
        showing: root.model.showingAuthAlert.value
        onDismissed: root.model.dismissAuthAlert()
    }

    AlertWindow {
        message: "No input has been recorded yet."
        showing: root.model.showingPlayAlert.value
        onDismissed: root.model.dismissPlayAlert()
    }

    InformationAlert {
        model: root.model.information
    }

    AlertWindow {
        showing: root.model.library.storeAlert.value !== ""
        message: root.model.library.storeAlert.value
        onDismissed: root.model.library.dismissStoreAlert()
    }
}

import QtQuick
import Tapeloop

// The alerts of the main window.
Item {
    id: root

    required property ContentViewModel model

    OnDemand {
        wanted: root.model.showingAuthAlert

        sourceComponent: AlertWindow {
            message: "Please authorize Tapeloop by going to System Preferences -> Security & Privacy -> Privacy -> Accessibility -> Check Tapeloop."
            showing: root.model.showingAuthAlert
            onDismissed: root.model.dismissAuthAlert()
        }
    }

    OnDemand {
        wanted: root.model.showingPlayAlert

        sourceComponent: AlertWindow {
            message: "No input has been recorded yet."
            showing: root.model.showingPlayAlert
            onDismissed: root.model.dismissPlayAlert()
        }
    }

    OnDemand {
        wanted: root.model.information.showingAlert

        sourceComponent: InformationAlert {
            model: root.model.information
        }
    }

    OnDemand {
        wanted: root.model.library.storeAlert !== ""

        sourceComponent: AlertWindow {
            showing: root.model.library.storeAlert !== ""
            message: root.model.library.storeAlert
            onDismissed: root.model.library.dismissStoreAlert()
        }
    }
}

import QtQuick
import Tapeloop

AlertWindow {
    id: root

    required property InformationButtonModel model

    message: "Thank you for using Tapeloop."
    defaultButton: "Privacy Policy"
    showing: model.showingAlert.value
    onDismissed: model.dismissAlert()
    onDefaultPressed: model.openPrivacyPolicy()
}

import QtQuick
import Tapeloop

// A symbol button that is drawn and acts as its model says.
SymbolButton {
    id: root

    required property ButtonModel model

    buttonOpacity: model.buttonOpacity.value
    onHoverChanged: hovering => model.hover(hovering)
    onClicked: model.press()
}

import QtQuick
import Tapeloop

// A symbol button whose opacity, hovering and press belong to a `ButtonModel`.
SymbolButton {
    id: root

    required property ButtonModel model

    buttonOpacity: model.buttonOpacity.value
    onHoverChanged: hovering => model.hover(hovering)
    onClicked: model.press()
}

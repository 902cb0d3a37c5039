import QtQuick
import QtQuick.Templates as T

// Scrolls content that is larger than the area, also to the item that gets the keyboard focus.
Flickable {
    id: root

    // Whether the pointer can scroll it.
    property bool responds: true

    function holds(item: Item): bool {
        return item !== null && (item === contentItem || holds(item.parent));
    }
    function show(item: Item) {
        const place = item.mapToItem(contentItem, 0, 0);
        contentX = moved(contentX, width, place.x, item.width, contentWidth);
        contentY = moved(contentY, height, place.y, item.height, contentHeight);
    }
    // The new content position: the nearest at which the item is in view with a margin of 8.
    function moved(from: real, view: real, item: real, size: real, content: real): real {
        const end = Math.min(item + size + 8, content);
        return Math.max(0, Math.min(Math.max(from, end - view), item - 8));
    }

    interactive: responds && (contentWidth > width || contentHeight > height)
    boundsBehavior: Flickable.StopAtBounds
    Window.onActiveFocusItemChanged: {
        if (holds(Window.activeFocusItem))
            show(Window.activeFocusItem);
    }

    T.ScrollBar.vertical: ThinScrollBar {}
    T.ScrollBar.horizontal: ThinScrollBar {}
}

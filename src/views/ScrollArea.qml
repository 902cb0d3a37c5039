import QtQuick
import QtQuick.Templates as T

// Scrolls what is larger than its place, also to what the keyboard comes to.
Flickable {
    id: root

    // Whether it takes the pointer.
    property bool responds: true

    function holds(item: Item): bool {
        return item !== null && (item === contentItem || holds(item.parent));
    }
    function show(item: Item) {
        const place = item.mapToItem(contentItem, 0, 0);
        contentX = moved(contentX, width, place.x, item.width, contentWidth);
        contentY = moved(contentY, height, place.y, item.height, contentHeight);
    }
    // Where the view begins, with a little room around the item.
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

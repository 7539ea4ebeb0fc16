import QtQuick
import QtQuick.Templates as T

// What may be longer than its window.
Flickable {
    id: page

    /// Window managers that scale windows round their sizes, and some take 2 pixels by it: nobody scrolls for them.
    readonly property bool isLonger: contentHeight > height + 2

    clip: true
    interactive: isLonger
    boundsBehavior: Flickable.StopAtBounds
    T.ScrollBar.vertical: SlimScrollBar { visible: page.isLonger }

    /// For keys that no control on the page has taken.
    function scroll(event) {
        const line = 40
        const end = Math.max(0, contentHeight - height)
        const goal = ({ [Qt.Key_Up]: contentY - line, [Qt.Key_Down]: contentY + line,
                        [Qt.Key_PageUp]: contentY - height + line, [Qt.Key_PageDown]: contentY + height - line,
                        [Qt.Key_Home]: 0, [Qt.Key_End]: end })[event.key]
        event.accepted = goal !== undefined && isLonger
        if (event.accepted) contentY = Math.max(0, Math.min(goal, end))
    }
}

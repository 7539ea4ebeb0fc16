import QtQuick
import QtQuick.Templates as T

// A box that opens a list. Nothing but a choice in the open list changes what is chosen: the keys that would step
// through the values of a closed box open its list. The list shows whole rows, as many as there is room for.
T.ComboBox {
    id: box

    property int rowHeight: 30
    /// How high the window that the list lies in can be.
    property real room: Window.height
    /// From the top of the box to the end of the list and its margin; 0 while it is closed.
    /// Told by the list, which is not made before it opens: to ask it would make it.
    property real reach: 0
    /// The press of Return that opened the list has not been let go yet.
    property bool isOpening: false
    /// What a screen reader calls the box, and its list.
    property string label

    hoverEnabled: true
    focusPolicy: Qt.StrongFocus     // the list is closed by Escape, however it was opened

    function isReturn(event) { return event.key === Qt.Key_Return || event.key === Qt.Key_Enter }
    Keys.onPressed: event => {
        if (popup.visible) {
            event.accepted = isReturn(event) && event.isAutoRepeat
            return
        }
        const opens = [Qt.Key_Return, Qt.Key_Enter, Qt.Key_Up, Qt.Key_Down, Qt.Key_Home, Qt.Key_End]
        const searches = /^[\p{L}\p{N}]/u.test(event.text) && !(event.modifiers & Qt.ControlModifier)
        if (!opens.includes(event.key) && !searches) return
        isOpening = isReturn(event)
        event.accepted = !searches      // a letter looks for a row of the list that it opened
        popup.open()
    }
    Keys.onReleased: event => {
        event.accepted = isReturn(event) && isOpening
        if (event.accepted && !event.isAutoRepeat) isOpening = false
    }

    /// The value of the row that keys or pointer have reached in the open list.
    property var reached
    property bool isFollowing: false
    onHighlightedIndexChanged: if (highlightedIndex >= 0 && !isFollowing) reached = valueAt(highlightedIndex)

    /// For after an update: rows have come, gone or moved, and Return takes the one that was reached, or where that
    /// is gone the one that is chosen, but never the one that has got into its place.
    function followReached() {
        if (!popup.visible || highlightedIndex < 0 || count === 0) return
        const row = indexOfValue(reached)
        isFollowing = row >= 0
        const steps = (row >= 0 ? row : Math.max(0, currentIndex)) - highlightedIndex
        for (let step = 0; step < steps; ++step) incrementCurrentIndex()
        for (let step = 0; step > steps; --step) decrementCurrentIndex()
        isFollowing = false
    }

    /// Where nothing is chosen the list begins at its first row all the same: the next key is to go on from there.
    function begin() {
        if (popup.visible && highlightedIndex < 0 && keyboard.isShown) incrementCurrentIndex()
    }

    Accessible.role: Accessible.ComboBox
    Accessible.name: label
    Accessible.onPressAction: if (box.enabled) popup.open()

    popup: T.Popup {
        readonly property int rows: (box.room - 2 * padding - 2 * margins) / box.rowHeight
        readonly property real end: visible ? y + implicitHeight + margins : 0
        onEndChanged: box.reach = end
        onOpened: if (!list.currentItem) screenReader.moveTo(list)
        onVisibleChanged: if (visible) Qt.callLater(box.begin)  // once the box knows of it, too
        onClosed: if (box.activeFocus) screenReader.moveTo(box)

        y: box.height + 4
        width: box.width
        padding: 5
        margins: 8
        implicitHeight: Math.max(1, Math.min(list.count, rows)) * box.rowHeight + 2 * padding
        enter: Transition { NumberAnimation { property: "opacity"; from: 0; to: 1; duration: Theme.quick } }
        exit: Transition { NumberAnimation { property: "opacity"; from: 1; to: 0; duration: Theme.quick } }
        contentItem: ListView {
            id: list
            clip: true
            model: box.popup.visible ? box.delegateModel : null
            currentIndex: box.highlightedIndex
            boundsBehavior: Flickable.StopAtBounds
            snapMode: ListView.SnapToItem
            highlightMoveDuration: 0
            Accessible.role: Accessible.List
            Accessible.name: box.label
            onCurrentItemChanged: if (box.popup.visible && !box.isFollowing) screenReader.moveTo(currentItem)
            T.ScrollBar.vertical: SlimScrollBar {}
        }
        background: PopupSurface {}
    }
    FocusRing { control: box }
}

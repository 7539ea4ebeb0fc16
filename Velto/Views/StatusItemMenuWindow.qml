import QtQuick

// The status item's menu, where the desktop shows none.
Window {
    id: window

    required property var entries
    signal chosen(int index)
    signal dismissed()

    title: "Velto"
    color: appearance.isComposited ? "transparent" : Theme.popup
    flags: Qt.Tool | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint | Qt.NoDropShadowWindowHint
    width: 320
    height: entries.reduce((sum, entry) => sum + (entry.label.length > 0 ? 30 : 9), 12)   // before any is drawn
    onActiveChanged: if (!active && visible) dismissed()

    PopupSurface { anchors { fill: parent; margins: 1 } }
    ListView {
        id: list
        anchors { fill: parent; margins: 6 }
        focus: true
        interactive: false
        currentIndex: -1
        model: window.entries
        Accessible.role: Accessible.PopupMenu
        Accessible.name: "Velto"

        function isChoice(index) { return window.entries[index].label.length > 0 && window.entries[index].isEnabled }
        function step(by) {
            for (let index = currentIndex + by; index >= -1 && index <= count; index += by) {
                if (index < 0) index = count - 1
                if (index === count) index = 0
                if (isChoice(index)) {
                    currentIndex = index
                    return
                }
            }
        }
        Keys.onDownPressed: step(1)
        Keys.onUpPressed: step(-1)
        Keys.onReturnPressed: if (currentIndex >= 0) window.chosen(currentIndex)
        Keys.onEnterPressed: if (currentIndex >= 0) window.chosen(currentIndex)
        Keys.onSpacePressed: if (currentIndex >= 0) window.chosen(currentIndex)
        Keys.onEscapePressed: window.dismissed()

        delegate: Item {
            required property int index
            required property var modelData
            width: list.width
            height: modelData.label.length > 0 ? 30 : 9
            Rectangle {
                visible: !modelData.label.length
                anchors { left: parent.left; right: parent.right; margins: 7; verticalCenter: parent.verticalCenter }
                height: 1
                color: Theme.separator
            }
            PopupMenuItem {
                visible: modelData.label.length > 0
                anchors.fill: parent
                text: modelData.label
                enabled: modelData.isEnabled
                opacity: enabled ? 1 : 0.6
                checkable: modelData.isCheckable
                checked: modelData.isChecked
                highlighted: enabled && list.currentIndex === index
                focusPolicy: Qt.NoFocus
                onHoveredChanged: if (hovered && enabled) list.currentIndex = index
                onTriggered: window.chosen(index)
            }
        }
    }
}

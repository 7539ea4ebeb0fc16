import QtQuick
import QtQuick.Templates as T

// The rows of the saved setups, as many as there is room for.
Item {
    id: view

    required property QtObject model    // the presets'
    readonly property int rowsShown: 5
    signal removalRequested(int row, string presetID)

    implicitHeight: Math.min(list.contentHeight, (rowsShown + 0.5) * 46)

    function showRow(row) {
        list.forceLayout()
        list.positionViewAtIndex(row, ListView.Contain)
        return list.itemAtIndex(row)
    }

    ListView {
        id: list
        anchors.fill: parent
        clip: true
        model: view.model.rows
        boundsBehavior: Flickable.StopAtBounds
        T.ScrollBar.vertical: SlimScrollBar {}
        delegate: PresetRow {
            width: ListView.view.width
            presets: view.model
            onActiveFocusChanged: if (activeFocus) ListView.view.currentIndex = index // the arrows go on from here
            onRemovalRequested: view.removalRequested(index, presetID)
            required property int index
        }
        Accessible.role: Accessible.List
        Accessible.name: "Presets"
    }
}

import QtQuick
import QtQuick.Templates as T

// The saved setups: save the running one, play one, take a deletion back.
Item {
    id: view

    required property QtObject model    // the panel's
    required property QtObject presets

    readonly property int rowsShown: 5
    /// The row that gets the keyboard when the rows have changed; -1 for none.
    property int nextRow: -1
    property bool isUndoing: false
    implicitHeight: column.height

    function remove(row, presetID) {
        nextRow = row
        presets.remove(presetID)
    }
    function focusNextRow() {
        list.forceLayout()
        const row = Math.min(nextRow, list.count - 1)
        nextRow = -1
        list.positionViewAtIndex(row, ListView.Contain)
        const home = row < 0 ? undo.item?.home : list.itemAtIndex(row)
        if (home) home.forceActiveFocus()
    }
    Connections {
        target: view.presets.rows
        function onRowsInserted(parent, first) {
            if (view.isUndoing) view.nextRow = first
            view.isUndoing = false
        }
        function onContentChanged() { if (view.nextRow >= 0) Qt.callLater(view.focusNextRow) }
    }

    Column {
        id: column
        width: parent.width
        spacing: 2

        Item {
            width: parent.width
            height: Theme.hitSize
            ToldLabel {
                x: 4
                anchors.verticalCenter: parent.verticalCenter
                text: "Presets"
                color: Theme.secondary
                font.pixelSize: Theme.text(12)
                font.weight: Font.Medium
                Accessible.role: Accessible.Heading
            }
            IconButton {
                id: opener
                anchors.right: parent.right
                visible: view.model.isPlaying
                checkable: true
                checked: view.model.isShowingPresetEditor
                symbol: checked ? "xmark" : "plus"
                text: "Save current setup"
                onClicked: view.model.isShowingPresetEditor = !view.model.isShowingPresetEditor
            }
        }
        Lazy {
            width: parent.width
            isDue: view.model.isShowingPresetEditor && view.model.isPlaying
            sourceComponent: PresetEditor { model: view.model }
            onLoaded: item.begin()
            onIsDueChanged: if (!isDue && activeFocus && opener.visible) opener.forceActiveFocus()
        }
        ToldLabel {
            x: 4
            width: parent.width - 8
            height: visible ? 34 : 0
            visible: list.count === 0 && !view.presets.canUndoDelete
            text: !opener.visible ? "Play two outputs, then save them here."
                : opener.checked ? "It is saved with its volumes." : "Save what plays now with the plus sign."
            color: Theme.secondary
            font.pixelSize: Theme.text(12)
        }
        ListView {
            id: list
            width: parent.width
            height: Math.min(contentHeight, (view.rowsShown + 0.5) * 46)
            visible: count > 0
            clip: true
            model: view.presets.rows
            boundsBehavior: Flickable.StopAtBounds
            T.ScrollBar.vertical: SlimScrollBar {}
            delegate: PresetRow {
                width: ListView.view.width
                presets: view.presets
                onActiveFocusChanged: if (activeFocus) ListView.view.currentIndex = index // the arrows go on from here
                onRemovalRequested: view.remove(index, presetID)
                required property int index
            }
            Accessible.role: Accessible.List
            Accessible.name: "Presets"
        }
        Lazy {
            width: parent.width
            isDue: view.presets.autoConnectOffer.length > 0
            sourceComponent: OfferRow {
                sentence: "Auto Connect is off for all setups."
                action: "Turn On"
                onAccepted: view.presets.acceptAutoConnectOffer()
            }
        }
        Lazy {
            id: undo
            width: parent.width
            isDue: view.presets.canUndoDelete
            sourceComponent: OfferRow {
                sentence: "Deleted “" + view.presets.deletedPresetName + "”"
                symbol: "arrow.uturn.backward"
                action: "Undo"
                onAccepted: {
                    view.isUndoing = true
                    view.presets.undoDelete()
                }
            }
        }
    }
}

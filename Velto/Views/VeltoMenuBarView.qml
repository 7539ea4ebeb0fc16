import QtQuick

// The panel: what plays, where, how loud, and the saved setups.
FocusScope {
    id: panel

    required property QtObject model
    required property QtObject presets
    property real longestHeight: 10000
    property bool isFramed: false
    signal settingsRequested()
    signal quitRequested()

    implicitWidth: Math.round(356 * Math.max(1, appearance.fontScale))
    implicitHeight: Math.min(longestHeight, Math.ceil(Math.max(content.height + 2 * 12, listEnd)))

    /// The panel makes room for a list that is open.
    readonly property real listEnd: Math.max(endOf(firstPicker), endOf(secondPicker))
    function endOf(picker) {
        return picker.reach ? flickable.y + pickerCard.y + pickers.y + picker.y + picker.reach : 0
    }

    /// The question, what there is to press, or what is missing for it.
    function focusHome() {
        const home = question.item ? question.item.home
                   : primary.visible && (primary.enabled || primary.busy) ? primary
                   : !pickerCard.visible ? settingsButton
                   : model.firstEntry.isConnected && !model.secondEntry.isConnected ? secondPicker : firstPicker
        home.forceActiveFocus()
    }
    Keys.onPressed: event => flickable.scroll(event)

    PanelSurface {
        anchors.fill: parent
        isFramed: panel.isFramed
    }

    ScrollingPage {
        id: flickable
        anchors { fill: parent; topMargin: 12; bottomMargin: 12 }
        contentHeight: content.height

        Column {
            id: content
            x: Theme.inset
            width: panel.width - 2 * Theme.inset
            spacing: 9

            Item {
                width: parent.width
                height: status.visible ? 42 : 30
                TextLabel {
                    id: title
                    x: 2
                    text: "Velto"
                    font.pixelSize: Theme.title
                    font.weight: Font.Medium
                }
                PlayingStatusView {
                    id: status
                    visible: !errorView.isDue     // which says the same, and more
                    anchors { left: title.left; right: buttons.left; rightMargin: 6; top: title.bottom; topMargin: 2 }
                    model: panel.model
                }
                Row {
                    id: buttons
                    anchors.right: parent.right
                    IconButton {
                        visible: panel.model.isPlaying
                        checkable: true
                        checked: panel.model.isChoosingOutputs
                        symbol: "arrow.left.arrow.right"
                        text: "Choose other outputs"
                        onClicked: panel.model.isChoosingOutputs = !panel.model.isChoosingOutputs
                    }
                    IconButton {
                        id: settingsButton
                        symbol: "gearshape"
                        text: "Settings"
                        onClicked: panel.settingsRequested()
                    }
                    IconButton {
                        symbol: "power"
                        text: "Quit Velto"
                        onClicked: panel.quitRequested()
                    }
                }
            }

            LazyView {
                id: errorView
                width: parent.width
                isDue: panel.model.errorText.length > 0
                view: "ErrorView"
                model: panel.model
            }
            LazyView {
                id: question
                width: parent.width
                isDue: panel.model.disconnectQuestion.length > 0
                view: "DisconnectQuestionView"
                model: panel.model
            }

            GlassCard {
                id: pickerCard
                width: parent.width
                height: pickers.height + 8
                visible: panel.model.showsPickers
                Column {
                    id: pickers
                    x: 4
                    y: 4
                    width: parent.width - 8
                    DevicePickerView {
                        id: firstPicker
                        width: parent.width
                        room: panel.longestHeight
                        label: "First output"
                        entry: panel.model.firstEntry
                        model: panel.model.firstRows
                        onPicked: uid => panel.model.firstUID = uid
                    }
                    Rectangle {
                        x: 54
                        width: parent.width - x - 8
                        height: 1
                        color: Theme.separator
                    }
                    DevicePickerView {
                        id: secondPicker
                        width: parent.width
                        room: panel.longestHeight
                        label: "Second output"
                        entry: panel.model.secondEntry
                        model: panel.model.secondRows
                        onPicked: uid => panel.model.secondUID = uid
                    }
                }
            }
            ToldLabel {
                width: parent.width
                visible: text.length > 0
                text: panel.model.hint
                color: Theme.secondary
                font.pixelSize: Theme.text(12)
                wrapMode: Text.Wrap
                horizontalAlignment: Text.AlignHCenter
            }
            LazyView {
                width: parent.width
                isDue: panel.model.outputs.count > 0
                view: "SessionView"
                model: panel.model
            }

            PushButton {
                id: primary
                width: parent.width
                implicitHeight: 36
                visible: panel.model.showsPrimaryAction
                prominent: panel.model.isPrimaryActionProminent
                busy: panel.model.isPrimaryActionBusy
                enabled: panel.model.isPrimaryActionEnabled
                symbol: panel.model.primaryActionSymbol
                text: panel.model.primaryActionTitle
                onClicked: panel.model.performPrimaryAction()
            }
            Rectangle {
                width: parent.width
                height: 1
                color: Theme.separator
            }
            PresetsView {
                width: parent.width
                model: panel.model
                presets: panel.presets
            }
        }
    }
}

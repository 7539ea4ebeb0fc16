import QtQuick
import QtQuick.Templates as T

// One saved setup: a click plays it, the menu holds what else can be done with it.
T.ItemDelegate {
    id: row

    required property string presetID
    required property string name
    required property string outputs
    required property string shortOutputs
    required property string note        // what is to be known of it now
    required property string favoriteTitle
    required property bool isReady
    required property bool isFavorite
    required property bool isAutoConnect
    required property bool isActive
    required property bool isRenaming
    required property string renameProblem
    required property QtObject presets   // the presets' model
    readonly property Item menuPlace: more

    implicitHeight: naming.isDue ? 16 + naming.height : 46
    hoverEnabled: true
    focusPolicy: Qt.TabFocus
    text: name
    onClicked: if (row.isReady) presets.activate(presetID)
    onIsRenamingChanged: if (!isRenaming && naming.activeFocus) forceActiveFocus()
    signal removalRequested()
    function openMenu() {
        menu.isOpen = true
        menu.item.open()
    }
    function beginNaming() { naming.item?.begin() }
    function leaveName() { renameProblem ? presets.cancelRename() : presets.commitRename() }

    Accessible.role: Accessible.ListItem
    Accessible.name: name
    Accessible.selectable: true
    Accessible.selected: isActive
    Accessible.description: [outputs, note, isAutoConnect ? "Auto Connect" : ""].filter(part => part).join(", ")
    Accessible.onPressAction: row.clicked()

    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    Keys.onDeletePressed: removalRequested()
    Keys.onMenuPressed: openMenu()
    Keys.onPressed: event => { if (event.key === Qt.Key_F2) presets.beginRename(presetID) }

    background: Rectangle {
        radius: 9
        color: row.down ? Theme.pressed : row.hovered ? Theme.hover : "transparent"
        Behavior on color { ColorAnimation { duration: Theme.quick } }
    }
    contentItem: Item {
        DeviceDisc {
            id: disc
            x: 8
            y: 8
            width: 30
            height: 30
            symbol: row.isActive ? "speaker.wave.2.fill" : "hifispeaker.2"
            playing: row.isActive
            faded: !row.isReady
        }
        LazyView {
            id: naming
            anchors { left: disc.right; leftMargin: 8; right: parent.right; rightMargin: 8; top: disc.top }
            isDue: row.isRenaming
            view: "PresetNameEditor"
            model: row
            onLoaded: Qt.callLater(row.beginNaming)  // its text comes after it
        }
        Column {
            anchors { left: disc.right; leftMargin: 10; right: buttons.left; rightMargin: 4; verticalCenter: disc.verticalCenter }
            visible: !row.isRenaming
            spacing: 1
            Row {
                width: parent.width
                spacing: 4
                NameLabel {
                    width: Math.min(implicitWidth, parent.width - (bolt.visible ? 18 : 0))
                    text: row.name
                    color: row.isReady ? Theme.label : Theme.secondary
                    font.weight: Font.Medium
                }
                Symbol {
                    id: bolt
                    anchors.verticalCenter: parent.verticalCenter
                    visible: row.isAutoConnect
                    name: "bolt.fill"
                    size: 14
                    color: Theme.secondary
                }
            }
            NameLabel {
                width: parent.width
                text: row.note || row.shortOutputs
                whole: row.note ? row.outputs + "\n" + row.note : row.outputs
                color: row.isReady ? Theme.secondary : Theme.warn
                font.pixelSize: Theme.small
            }
        }
        Row {
            id: buttons
            anchors { right: parent.right; rightMargin: 4; verticalCenter: disc.verticalCenter }
            visible: !row.isRenaming
            IconButton {
                symbol: row.isFavorite ? "star.fill" : "star"
                color: row.isFavorite ? Theme.star : Theme.faint
                text: row.favoriteTitle
                Accessible.name: row.favoriteTitle + ": " + row.name
                onClicked: row.presets.toggleFavorite(row.presetID)
            }
            IconButton {
                id: more
                symbol: "ellipsis"
                text: "More"
                Accessible.name: "More for " + row.name
                onClicked: row.openMenu()
            }
        }
        LazyView {
            id: menu
            property bool isOpen: false     // made when it is opened, and gone with it
            isDue: isOpen
            view: "PresetMenu"
            model: row
            Connections {
                target: menu.item
                function onClosed() { menu.isOpen = false }
            }
        }
    }
    FocusRing { control: row; inset: 0 }
}

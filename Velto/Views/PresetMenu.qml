import QtQuick

// What else can be done with a saved setup.
PopupMenu {
    id: menu

    required property QtObject model    // its row

    parent: model.menuPlace
    x: parent.width - width
    y: parent.height + 2

    PopupMenuItem {
        text: "Rename"
        symbol: "pencil"
        onTriggered: menu.model.presets.beginRename(menu.model.presetID)
    }
    PopupMenuItem {
        text: menu.model.favoriteTitle
        symbol: "star"
        onTriggered: menu.model.presets.toggleFavorite(menu.model.presetID)
    }
    PopupMenuItem {
        text: "Auto Connect"
        checkable: true
        checked: menu.model.isAutoConnect
        onTriggered: menu.model.presets.toggleAutoConnect(menu.model.presetID)
    }
    PopupMenuItem {
        text: "Delete"
        symbol: "trash"
        destructive: true
        onTriggered: menu.model.removalRequested()
    }
}

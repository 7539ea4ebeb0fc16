import QtQuick

// One output of the session: what it is, and how loud.
GlassCard {
    id: card

    required property string uid
    required property string name
    required property string shortName
    required property string symbol
    required property string badge
    required property string badgeSymbol
    required property bool isConnected
    required property bool hasVolume
    required property bool canMute
    required property bool isMuted
    required property real volume
    required property string volumeText
    signal volumeMoved(real volume)
    signal muteToggled()

    implicitHeight: 74

    Accessible.role: Accessible.Grouping
    Accessible.name: name
    Accessible.description: [badge, hasVolume ? "" : volumeText].filter(part => part).join(", ")

    DeviceDisc {
        id: disc
        x: 10
        anchors.verticalCenter: parent.verticalCenter
        symbol: card.symbol
        playing: card.isConnected
        faded: !card.isConnected
    }
    NameLabel {
        anchors { left: disc.right; leftMargin: 10; right: badgeLabel.left; rightMargin: 8; verticalCenter: badgeLabel.verticalCenter }
        text: card.shortName
        whole: card.name
        color: card.isConnected ? Theme.label : Theme.secondary
        font.weight: Font.Medium
    }
    StatusBadge {
        id: badgeLabel
        anchors { right: parent.right; rightMargin: 10; top: parent.top; topMargin: card.volumeText ? 11 : (card.height - height) / 2 }
        text: card.badge
        symbol: card.isConnected ? card.badgeSymbol : ""
        ink: card.isConnected ? Theme.secondary : Theme.warn
        ground: card.isConnected ? Theme.badge : Theme.warnGround
    }
    TextLabel {
        anchors { left: disc.right; leftMargin: 10; bottom: parent.bottom; bottomMargin: 13; right: parent.right }
        visible: !card.hasVolume
        text: card.volumeText
        color: Theme.secondary
        font.pixelSize: Theme.small
    }
    IconButton {
        id: mute
        anchors { left: disc.right; leftMargin: 5; bottom: parent.bottom; bottomMargin: 7 }
        visible: card.hasVolume
        enabled: card.isConnected && card.canMute
        checkable: true
        checked: card.isMuted
        text: (card.isMuted ? "Unmute " : "Mute ") + card.name
        symbol: card.isMuted ? "speaker.slash.fill" : "speaker.wave.2.fill"
        color: card.isMuted ? Theme.bad : Theme.secondary
        onClicked: card.muteToggled()
    }
    VolumeSlider {
        anchors { left: mute.right; leftMargin: 5; right: percent.left; rightMargin: 6; verticalCenter: mute.verticalCenter }
        visible: card.hasVolume
        enabled: card.isConnected
        dimmed: card.isMuted
        volume: card.volume
        Accessible.name: "Volume of " + card.name
        onVolumeMoved: volume => card.volumeMoved(volume)
    }
    TextLabel {
        id: percent
        anchors { right: parent.right; rightMargin: 10; verticalCenter: mute.verticalCenter }
        visible: card.hasVolume
        width: 36
        horizontalAlignment: Text.AlignRight
        text: card.volumeText
        color: Theme.secondary
        font.pixelSize: Theme.small
    }
}

import QtQuick

// The ground of the panel: the desktop's own material shows through where it has one. Where nothing blends windows it
// is square and opaque.
Rectangle {
    id: surface

    property bool isFramed: false   // by the desktop, which makes it a window like any other
    readonly property bool isRound: appearance.isComposited && !isFramed

    radius: isRound ? Theme.panelRadius : 0
    color: isRound ? "transparent" : Theme.windowOpaque
    border.width: isFramed ? 0 : 1
    border.color: Theme.windowEdge
    gradient: isRound && !appearance.hasMaterial ? glass : null

    Gradient {
        id: glass
        GradientStop { position: 0; color: Theme.windowTop }
        GradientStop { position: 1; color: Theme.windowBottom }
    }
}

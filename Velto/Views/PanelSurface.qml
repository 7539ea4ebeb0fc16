import QtQuick

// The ground of the panel: the desktop's own material shows through where it has one. Where nothing blends windows it
// is square and opaque.
Rectangle {
    id: surface

    radius: appearance.isComposited ? Theme.panelRadius : 0
    color: appearance.isComposited ? "transparent" : Theme.windowOpaque
    border.width: 1
    border.color: Theme.windowEdge
    gradient: appearance.isComposited && !appearance.hasMaterial ? glass : null

    Gradient {
        id: glass
        GradientStop { position: 0; color: Theme.windowTop }
        GradientStop { position: 1; color: Theme.windowBottom }
    }
}

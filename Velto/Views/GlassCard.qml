import QtQuick

// The surface on which things that belong together lie.
Rectangle {
    radius: Theme.cornerRadius
    color: Theme.card
    border.width: 1
    border.color: Theme.cardEdge
}

import QtQuick

// The name of an output or a setup: what there is no room for is left out in the middle, because names differ at their
// ends, and the whole stands in a tooltip.
TextLabel {
    id: label

    property string whole: text

    elide: Text.ElideMiddle

    HoverHandler { id: pointer }
    Loader {
        active: pointer.hovered && (label.truncated || label.whole !== label.text)
        sourceComponent: ToolTipLabel {
            owner: label
            text: label.whole
        }
    }
}

import QtQuick

// Text that is only looked at: the control around it carries the accessible name. Names of devices and presets
// come from elsewhere and are never markup.
Text {
    color: Theme.label
    font.family: Theme.family
    font.pixelSize: Theme.body
    elide: Text.ElideRight
    horizontalAlignment: Text.AlignLeft // right-to-left names too: the windows are laid out left to right
    verticalAlignment: Text.AlignVCenter
    textFormat: Text.PlainText
    Accessible.ignored: true
}

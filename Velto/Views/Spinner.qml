import QtQuick

// Something is under way. Twelve steps a second, and only while it can be seen.
Symbol {
    id: spinner

    name: "circle.dotted"

    Timer {
        interval: 83
        repeat: true
        running: spinner.visible && !appearance.reducesMotion && spinner.Window.window !== null
                 && spinner.Window.window.visible
        onTriggered: spinner.rotation = (spinner.rotation + 30) % 360
    }
}

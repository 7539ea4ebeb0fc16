import QtQuick

// A system symbol, by its name.
Image {
    property string name
    property color color: Theme.label
    property int size: 16

    width: size
    height: size
    sourceSize: Qt.size(Math.ceil(size * Screen.devicePixelRatio), Math.ceil(size * Screen.devicePixelRatio))
    source: name ? "image://symbol/" + name + "/" + color.toString().slice(1) : ""
    fillMode: Image.PreserveAspectFit
}

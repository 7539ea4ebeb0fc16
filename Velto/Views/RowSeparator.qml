import QtQuick

Rectangle {
    x: 14
    width: parent.width - 28
    height: 1
    color: Theme.separator
}

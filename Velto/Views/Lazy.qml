import QtQuick

// A part of a view that is made when it is first due, and gone when it isn't.
Loader {
    required property bool isDue
    active: isDue
    visible: isDue
}

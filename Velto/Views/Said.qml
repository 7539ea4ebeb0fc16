import QtQuick

// Words that a screen reader says when they appear, wherever the keyboard is.
Item {
    property string text
    onTextChanged: screenReader.say(Window.window, text)
}

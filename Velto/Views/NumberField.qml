import QtQuick

// A number from 0 to 1,000 with a decimal, as the language writes it: Return takes it, and so does leaving the
// field; Escape doesn't.
NameField {
    id: field

    property real number: 0
    readonly property string shown: Number(number).toLocaleString(Qt.locale(), "f", number % 1 ? 1 : 0)
    signal entered(real number)

    implicitWidth: 68
    implicitHeight: Theme.hitSize
    horizontalAlignment: TextInput.AlignRight
    inputMethodHints: Qt.ImhFormattedNumbersOnly
    validator: DoubleValidator { bottom: 0; top: 1000; decimals: 1; notation: DoubleValidator.StandardNotation }

    function take() {
        if (acceptableInput && text !== shown) entered(Number.fromLocaleString(Qt.locale(), text))
        text = Qt.binding(() => shown)
    }
    text: shown
    onCommitted: { take(); selectAll() }
    onCancelled: { text = Qt.binding(() => shown); selectAll() }
    onActiveFocusChanged: activeFocus ? selectAll() : take()
}

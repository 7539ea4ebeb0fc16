pragma Singleton
import QtQuick

// Every colour, size and duration of the views. Text colours keep a contrast of 4.5 : 1 on every surface they
// are used on, what carries meaning without being text 3 : 1.
QtObject {
    readonly property bool dark: appearance.isDark
    readonly property string family: appearance.fontFamily

    // A size of text in pixels, as the desktop wants it.
    function text(pixels) { return Math.round(pixels * appearance.fontScale) }

    readonly property color accent: appearance.accent           // accentText is readable on it
    readonly property color accentInk: appearance.accentInk     // readable on the window itself
    readonly property color accentText: appearance.accentText

    readonly property color label: dark ? "#f5f5f7" : "#1d1d1f"
    readonly property color secondary: dark ? "#c4c4cc" : "#5a5a61"
    readonly property color faint: dark ? "#b8b8c0" : "#73737a" // symbols only
    readonly property color good: dark ? "#32d365" : "#1a7f37"
    readonly property color warn: dark ? "#ffbf5c" : "#9a5b00"
    readonly property color bad: dark ? "#ff7a70" : "#c4291c"
    readonly property color star: dark ? "#ffc933" : "#a56f00"

    // Opaque: the software renderer blends what it draws anew with what it drew before.
    readonly property color windowTop: dark ? "#2f2f35" : "#fafafd"
    readonly property color windowBottom: dark ? "#25252a" : "#f0f0f5"
    readonly property color windowEdge: dark ? "#3dffffff" : "#2e000000"
    readonly property color windowOpaque: dark ? "#28282d" : "#f4f4f8"
    readonly property color card: dark ? "#12ffffff" : "#ffffff"
    readonly property color cardEdge: dark ? "#1affffff" : "#16000000"
    readonly property color control: dark ? "#1effffff" : "#ffffff"
    readonly property color controlEdge: dark ? "#2effffff" : "#30000000"  // of what its text tells
    readonly property color fieldEdge: dark ? "#a2a2ab" : "#7a7a80"          // of what is told by its edge
    readonly property color hover: dark ? "#16ffffff" : "#0c000000"
    readonly property color pressed: dark ? "#1fffffff" : "#1a000000"
    readonly property color track: dark ? "#40ffffff" : "#26000000"
    readonly property color disc: dark ? "#2effffff" : "#12000000"
    readonly property color badge: dark ? "#10ffffff" : "#12000000"
    readonly property color popup: dark ? "#36363c" : "#fdfdfe"
    readonly property color separator: dark ? "#1fffffff" : "#17000000"
    readonly property color warnGround: dark ? "#1affb340" : "#1cff9500"
    readonly property color badGround: dark ? "#2eff5a4f" : "#14d92d20"

    readonly property int title: text(17)
    readonly property int body: text(13)
    readonly property int small: text(11)
    readonly property int hitSize: 28
    readonly property int inset: 14
    readonly property int fieldWidth: 268
    readonly property int cornerRadius: 12
    readonly property int panelRadius: 15
    readonly property int quick: appearance.reducesMotion ? 0 : 150
    readonly property int calm: appearance.reducesMotion ? 0 : 190
}

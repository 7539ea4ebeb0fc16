import QtQuick

Window {
    id: window

    required property string message
    required property string buttonTitle
    property int longestHeight: 10000   // of the window, without its frame
    property int longestWidth: 10000

    color: Theme.windowOpaque
    flags: Qt.Dialog | Qt.CustomizeWindowHint | Qt.WindowTitleHint | Qt.WindowCloseButtonHint
    width: Math.min(view.implicitWidth, longestWidth)
    height: Math.min(view.implicitHeight, longestHeight)
    minimumWidth: width
    maximumWidth: width
    minimumHeight: height
    maximumHeight: height

    // Dragged by its background. Below the view, so that the button still takes its clicks.
    DragHandler {
        target: null
        onActiveChanged: if (active) window.startSystemMove()
    }
    OnboardingView {
        id: view
        anchors.fill: parent
        focus: true
        heading: window.title
        message: window.message
        buttonTitle: window.buttonTitle
        onContinued: window.close()
        Keys.onEscapePressed: window.close()
        Keys.onReturnPressed: window.close()
    }
}

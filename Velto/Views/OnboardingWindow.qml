import QtQuick

Window {
    id: window

    required property string message
    required property string buttonTitle

    color: Theme.windowOpaque
    flags: Qt.Dialog | Qt.CustomizeWindowHint | Qt.WindowTitleHint | Qt.WindowCloseButtonHint
    width: view.implicitWidth
    height: view.implicitHeight
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

import QtQuick

// The outputs of the session: how loud they are, and when each of them is heard.
Column {
    id: session

    required property QtObject model    // the panel's

    spacing: 9

    Repeater {
        model: session.model.outputs
        OutputDeviceCard {
            width: session.width
            onVolumeMoved: volume => session.model.setVolume(uid, volume)
            onMuteToggled: session.model.toggleMute(uid)
        }
    }
    Lazy {
        width: parent.width
        isDue: session.model.hasMasterVolume
        sourceComponent: MasterVolumeRow { model: session.model }
    }
    Lazy {
        width: parent.width
        isDue: session.model.inStep.isAvailable
        sourceComponent: InStepView { model: session.model.inStep }
    }
}

import QtQuick

// A setup is to start by itself, which is off for all.
OfferRow {
    required property QtObject model    // the presets'
    sentence: "Auto Connect is off for all setups."
    action: "Turn On"
    onAccepted: model.acceptAutoConnectOffer()
}

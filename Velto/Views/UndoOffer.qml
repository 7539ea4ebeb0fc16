import QtQuick

// A saved setup has been deleted, and can be had back.
OfferRow {
    required property QtObject model    // the presets'
    sentence: "Deleted “" + model.deletedPresetName + "”"
    symbol: "arrow.uturn.backward"
    action: "Undo"
}

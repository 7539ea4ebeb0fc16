import QtQuick

// A part of a view in a file of its own, which is not even read before the part is first due. It is given its model.
Loader {
    id: part

    required property bool isDue
    required property string view   // the file's name
    required property QtObject model
    property bool isComplete: false

    visible: isDue
    function follow() {
        if (!isDue) source = ""
        else setSource(view + ".qml", { model: part.model })
    }
    onIsDueChanged: if (isComplete) follow()
    Component.onCompleted: {
        isComplete = true
        if (isDue) follow()
    }
}

import QtQml
import Orvel

// Turns the editor's outcomes into toasts. Job signals that a build may lack (export, captions)
// are connected when present, so the shell runs before those features are in.
QtObject {
    id: router

    // Words that mark a status message as a failure rather than news.
    function severityOf(message) {
        return /fail|error|could not|unable|invalid|denied/i.test(message) ? "error" : "info"
    }

    function route(message) {
        if (message === undefined || message === null || String(message).length === 0)
            return
        Toasts.post(severityOf(String(message)), String(message))
    }

    property Connections editor: Connections {
        target: EditorState
        ignoreUnknownSignals: true
        function onLastMessageChanged() {
            router.route(EditorState.lastMessage)
        }
        function onTransformBlocked(reason) {
            Toasts.warning(reason)
        }
        function onPackageFinished(ok, message) {
            if (ok)
                Toasts.success(message)
            else
                Toasts.error(qsTr("Couldn't create the shareable copy: %1").arg(message))
        }
        function onExportFinished(success) {
            if (success)
                Toasts.success(qsTr("Export finished."))
            else if (EditorState.lastMessage === "Export cancelled")
                Toasts.info(qsTr("Export cancelled."))
            else
                Toasts.error(qsTr("Export failed. Check the save location and free space on your disk."))
        }
        function onSubtitleGenerationFinished(ok, message) {
            if (ok)
                Toasts.success(message && message.length > 0 ? message : qsTr("Captions created."))
            else
                Toasts.error(message && message.length > 0 ? qsTr("Couldn’t create captions: %1").arg(message)
                                                           : qsTr("Couldn’t create captions."))
        }
    }
}

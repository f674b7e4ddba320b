pragma Singleton
import QtQuick

// The notification queue. Repeats of the newest toast are counted instead of stacked (a drag
// refusal can fire many times a second), and only the newest maxVisible stay.
QtObject {
    id: toasts

    property ListModel model: ListModel {}
    readonly property int defaultTimeout: 5000
    readonly property int maxVisible: 4
    property int nextId: 1

    function post(severity, message, timeout) {
        if (message === undefined || message === null || String(message).length === 0)
            return -1
        const text = String(message)
        if (model.count > 0) {
            const newest = model.get(model.count - 1)
            if (newest.message === text && newest.severity === severity) {
                model.setProperty(model.count - 1, "repeats", newest.repeats + 1)
                return newest.toastId
            }
        }
        const toastId = nextId++
        const expiry = (timeout !== undefined && timeout !== null) ? timeout
                                                                  : (severity === "error" ? 0 : defaultTimeout)
        model.append({ toastId: toastId, severity: severity, message: text, repeats: 1, timeout: expiry })
        while (model.count > maxVisible)
            model.remove(0)
        return toastId
    }

    function info(message, timeout) { return post("info", message, timeout) }
    function success(message, timeout) { return post("success", message, timeout) }
    function warning(message, timeout) { return post("warning", message, timeout) }
    function error(message, timeout) { return post("error", message, timeout) }

    function dismiss(toastId) {
        for (let i = 0; i < model.count; ++i) {
            if (model.get(i).toastId === toastId) {
                model.remove(i)
                return
            }
        }
    }

    function clear() {
        model.clear()
    }
}

import QtQuick
import Orvel

// A button that stays down while `checked`, for modes such as a timeline tool.
ThemedButton {
    id: control
    checkable: true
    variant: checked ? "primary" : "ghost"
}

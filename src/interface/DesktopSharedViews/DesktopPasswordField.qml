import QtQuick
import Veskline.SharedViews

// A field whose content nobody reads but `password()`: what stands in `text`, which screen readers and other clients of
// the accessibility bus are given whatever the echo mode, is dots.
DesktopInputField {
    readonly property string text: "\u2022".repeat(length)

    function password(): string {
        return getText(0, length)
    }

    function fill(password: string) {
        clear()
        insert(0, password)
    }

    echoMode: TextInput.Password
    passwordCharacter: "\u2022"
    placeholderText: "Password" // the one word that a reader gets of it
    hint: "\u2022".repeat(8)
    inputMethodHints: Qt.ImhSensitiveData | Qt.ImhHiddenText | Qt.ImhNoPredictiveText | Qt.ImhNoAutoUppercase
}

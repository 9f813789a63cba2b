import QtQuick
import QtQuick.Layouts
import Veskline.Adapter
import Veskline.SharedViews

// E-mail, password, and the two ways on: log in or create an account. Shown on each screen until the user is signed in.
DesktopSurface {
    id: root
    required property DesktopModelAdapter model

    spacing: 18

    RowLayout {
        spacing: 12

        ColumnLayout {
            spacing: 8

            DesktopKicker { text: "Local auth" }
            DesktopHeading {
                title: "Sign in on this Mac"
                size: 30
                tracking: -0.8
            }
            DesktopParagraph {
                text: "Connect the native agent to your Vesk account before choosing folders to keep in sync."
            }
        }
        DesktopStatusChip {
            Layout.alignment: Qt.AlignTop
            text: "Required"
            kind: StatusPillKind.Accent
        }
    }
    RowLayout {
        spacing: 14

        ColumnLayout {
            Layout.preferredWidth: 1
            spacing: 8

            DesktopKicker { text: "Email" }
            DesktopInputField {
                placeholderText: "you@example.com"
                text: root.model.email
                inputMethodHints: Qt.ImhEmailCharactersOnly | Qt.ImhNoPredictiveText | Qt.ImhNoAutoUppercase
                Accessible.name: "Email"
                onTextEdited: root.model.email = text
                onAccepted: passwordField.forceActiveFocus(Qt.TabFocusReason)
            }
        }
        ColumnLayout {
            Layout.preferredWidth: 1
            spacing: 8

            DesktopKicker { text: "Password" }
            DesktopPasswordField {
                id: passwordField
                Accessible.name: "Password"
                onTextEdited: root.model.password = password()
                onAccepted: root.model.login()

                Connections {
                    target: root.model

                    function onPasswordChanged() {
                        if (root.model.password !== passwordField.password()) {
                            passwordField.fill(root.model.password)
                        }
                    }
                }
            }
        }
    }
    RowLayout {
        spacing: 10

        DesktopPrimaryButton {
            text: "Log in"
            onClicked: root.model.login()
        }
        DesktopSecondaryButton {
            text: "Create account"
            onClicked: root.model.signup()
        }
    }
    DesktopParagraph {
        visible: text !== "" && !failure.visible
        text: root.model.authPresentation.text
        size: 14
        weight: Font.Medium
    }
    DesktopCallout {
        id: failure
        visible: kind === StatusPillKind.Error
        text: root.model.authPresentation.text
        kind: root.model.authPresentation.kind
    }
}

pragma Singleton
import QtQuick
import Veskline.SharedViews

// The colours of the window, by what they are for.
QtObject {
    readonly property color page: "#F4F1E8"
    readonly property color surface: "#FBF9F4"
    readonly property color surfaceStrong: "#FFFFFF"
    readonly property color border: "#D8D1C7"
    readonly property color borderStrong: "#121212"
    readonly property color text: "#0F1011"
    readonly property color muted: "#5C5953"
    readonly property color accent: "#D5F240"
    readonly property color accentDeep: "#BFD62D"
    readonly property color accentSoft: faded(accent, 0.18)
    readonly property color success: "#36B078"
    readonly property color warning: "#F2A32E"
    readonly property color danger: "#E35C4F"
    readonly property color ink: "#000000"

    // The colour that stands for a StatusPillKind.
    function tone(kind: int): color {
        switch (kind) {
        case StatusPillKind.Accent: return accentDeep
        case StatusPillKind.Ok: return success
        case StatusPillKind.Warn: return warning
        case StatusPillKind.Error: return danger
        }
        return muted
    }

    // The ground and the line of what is shown in a kind's colour: soft in the accent, plain where muted, else thin
    // layers of the tone.
    function ground(kind: int, opacity: real): color {
        switch (kind) {
        case StatusPillKind.Accent: return accentSoft
        case StatusPillKind.Muted: return surface
        }
        return faded(tone(kind), opacity)
    }
    function line(kind: int, accentOpacity: real, opacity: real): color {
        switch (kind) {
        case StatusPillKind.Accent: return faded(accentDeep, accentOpacity)
        case StatusPillKind.Muted: return border
        }
        return faded(tone(kind), opacity)
    }

    function faded(color: color, opacity: real): color {
        return Qt.rgba(color.r, color.g, color.b, color.a * opacity)
    }
}

import Veskline.SharedViews

// For the operation that a screen is there for.
DesktopButton {
    fill: DesktopPalette.accent
    isRaised: true
}

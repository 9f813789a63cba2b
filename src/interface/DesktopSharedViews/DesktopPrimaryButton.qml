import Veskline.SharedViews

DesktopButton {
    fill: DesktopPalette.accent
    isRaised: true
}

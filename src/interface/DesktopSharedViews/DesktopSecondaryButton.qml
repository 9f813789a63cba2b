import Veskline.SharedViews

DesktopButton {
    fill: DesktopPalette.surfaceStrong
}

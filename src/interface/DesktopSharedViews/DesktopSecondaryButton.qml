import Veskline.SharedViews

// For all other operations.
DesktopButton {
    fill: DesktopPalette.surfaceStrong
}

import QtQuick

// Moves a Flickable by the wheel alone, so that a drag of the mouse selects text instead of panning. At either end the
// wheel goes on to what lies behind. Lies in the Flickable, under its content.
MouseArea {
    id: root
    required property Flickable area

    readonly property real first: area.originY - area.topMargin
    readonly property real last: Math.max(first, area.originY + area.contentHeight + area.bottomMargin - area.height)

    // Down by `distance` points; false where there is nowhere left to go.
    function scroll(distance: real): bool {
        const next = Math.max(first, Math.min(last, area.contentY + distance))
        const moves = next !== area.contentY
        area.contentY = next
        return moves
    }

    // Moves by the keys that scroll, and takes them where it moves.
    function scrollByKey(event) {
        const steps = {
            [Qt.Key_Up]: -54, [Qt.Key_Down]: 54,
            [Qt.Key_PageUp]: -area.height * 0.9, [Qt.Key_PageDown]: area.height * 0.9,
            [Qt.Key_Home]: -area.contentHeight, [Qt.Key_End]: area.contentHeight
        }
        event.accepted = event.key in steps && scroll(steps[event.key])
    }

    parent: area
    anchors.fill: parent
    z: -1
    acceptedButtons: Qt.NoButton
    onWheel: event => {
        const distance = event.pixelDelta.y !== 0 ? -event.pixelDelta.y : -event.angleDelta.y / 120 * 72
        event.accepted = scroll(distance)
    }
}

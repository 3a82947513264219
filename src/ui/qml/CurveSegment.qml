import QtQuick

// A straight stroke from `from` to `to`, made of a thin rotated rectangle: plain items render under every
// scene-graph backend and inside clipped views, where canvases and shapes do not on the software one.
Rectangle {
    property point from
    property point to
    property real thickness: 1.5
    readonly property real length: Math.hypot(to.x - from.x, to.y - from.y)

    x: from.x
    y: from.y - thickness / 2
    width: length
    height: thickness
    antialiasing: true
    transformOrigin: Item.Left
    rotation: Math.atan2(to.y - from.y, to.x - from.x) * 180 / Math.PI
}

import QtQuick
import Orvane.Ui

// One clip on the timeline: its filmstrip, its waveform and its name, a trim handle on either edge. A
// press selects it; dragging the body moves it, dragging a handle trims it. Translations are measured in
// `coordinateSpace`, which does not move while the bar does.
Item {
    id: bar
    required property string clipId
    required property string name
    required property real barX
    required property real barY
    required property real barWidth
    required property real barHeight
    required property string trackKind
    required property bool selected
    required property bool dragging
    required property var stripFrames
    required property string waveform
    required property bool hasVideo
    property EditorModel editor
    property Item coordinateSpace

    x: barX
    y: barY
    width: barWidth
    height: barHeight
    z: dragging ? 5 : (selected ? 2 : 1)
    objectName: "clip." + clipId
    activeFocusOnTab: true
    Accessible.role: Accessible.Button
    Accessible.name: name
    Accessible.description: Strings.t("timeline.clip.hint", "Drag to move, drag an edge to trim")
    Keys.onSpacePressed: editor.selectClip(clipId)
    Keys.onReturnPressed: editor.selectClip(clipId)

    readonly property color tint: trackKind === "music" ? "#2F6B57" : trackKind === "audio" ? "#2F5A7A" : "#4A3F99"

    Rectangle {
        id: body
        anchors.fill: parent
        radius: 5
        color: bar.tint
        opacity: bar.dragging ? 0.85 : 1
        clip: true

        // The filmstrip: the frames made so far, side by side at the bar's height.
        Row {
            visible: bar.hasVideo
            height: parent.height
            Repeater {
                model: bar.stripFrames
                delegate: Image {
                    required property string modelData
                    source: modelData
                    height: body.height
                    width: Math.max(bar.width / Math.max(bar.stripFrames.length, 1), 1)
                    fillMode: Image.PreserveAspectCrop
                    sourceSize.height: 144
                    asynchronous: true
                    cache: true
                    opacity: 0.9
                }
            }
        }

        Image {
            objectName: "clipWaveform"
            visible: source.toString().length > 0
            source: bar.waveform
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.bottom: parent.bottom
            height: bar.hasVideo ? parent.height * 0.42 : parent.height - 16
            fillMode: Image.Stretch
            // A long clip's waveform is far wider than a texture may be: it is decoded at the bar's size.
            sourceSize.width: Math.max(1, Math.min(Math.round(bar.width), 8192))
            sourceSize.height: 96
            asynchronous: true
            smooth: true
        }

        Rectangle {
            anchors.left: parent.left
            anchors.top: parent.top
            anchors.margins: 3
            width: Math.min(nameText.implicitWidth + 10, parent.width - 6)
            height: nameText.implicitHeight + 4
            radius: 3
            color: Qt.rgba(0, 0, 0, 0.55)
            visible: width > 14
            Text {
                id: nameText
                anchors.fill: parent
                anchors.leftMargin: 5
                anchors.rightMargin: 5
                verticalAlignment: Text.AlignVCenter
                text: bar.name
                elide: Text.ElideRight
                color: "white"
                font.family: Theme.fontFamily
                font.pixelSize: 11
                font.weight: Font.DemiBold
            }
        }
    }

    Rectangle {
        anchors.fill: parent
        radius: 5
        color: "transparent"
        border.width: bar.selected || bar.activeFocus ? 2 : 1
        border.color: bar.activeFocus ? Theme.focusRing : (bar.selected ? "#FFFFFF" : Qt.rgba(1, 1, 1, 0.18))
    }

    // The body: select, then move.
    MouseArea {
        id: moveArea
        anchors.fill: parent
        anchors.leftMargin: handleWidth
        anchors.rightMargin: handleWidth
        property point pressPoint
        readonly property real handleWidth: Math.min(8, bar.width / 4)
        cursorShape: bar.dragging ? Qt.ClosedHandCursor : Qt.OpenHandCursor
        onPressed: (mouse) => {
            bar.editor.selectClip(bar.clipId)
            bar.forceActiveFocus()
            pressPoint = mapToItem(bar.coordinateSpace, mouse.x, mouse.y)
        }
        onPositionChanged: (mouse) => {
            const p = mapToItem(bar.coordinateSpace, mouse.x, mouse.y)
            bar.editor.clipDragChanged(bar.clipId, p.x - pressPoint.x, p.y - pressPoint.y)
        }
        onReleased: (mouse) => {
            const p = mapToItem(bar.coordinateSpace, mouse.x, mouse.y)
            bar.editor.clipDragEnded(p.x - pressPoint.x, p.y - pressPoint.y)
        }
        onCanceled: bar.editor.clipDragEnded(0, 0)
    }

    component TrimHandle: MouseArea {
        id: handle
        property bool isLeft
        property real pressX
        width: moveArea.handleWidth
        height: bar.height
        cursorShape: Qt.SizeHorCursor
        hoverEnabled: true
        onPressed: (mouse) => {
            bar.editor.selectClip(bar.clipId)
            pressX = mapToItem(bar.coordinateSpace, mouse.x, mouse.y).x
        }
        onPositionChanged: (mouse) => {
            if (!pressed)
                return
            const x = mapToItem(bar.coordinateSpace, mouse.x, mouse.y).x
            bar.editor.trimChanged(bar.clipId, isLeft, x - pressX)
            timelineTooltip(x)
        }
        onReleased: bar.editor.trimEnded()
        onCanceled: bar.editor.trimEnded()
        Rectangle {
            anchors.fill: parent
            anchors.topMargin: 4
            anchors.bottomMargin: 4
            radius: 2
            color: handle.containsMouse || handle.pressed ? "#FFFFFF" : Qt.rgba(1, 1, 1, 0.35)
            visible: bar.width > 20
        }
    }

    // Tells the timeline where the tooltip of a trim stands.
    function timelineTooltip(x) {
        let item = bar.parent
        while (item && item.trimTooltipX === undefined)
            item = item.parent
        if (item)
            item.trimTooltipX = x + 8
    }

    TrimHandle {
        objectName: "trimStart"
        isLeft: true
        anchors.left: parent.left
    }
    TrimHandle {
        objectName: "trimEnd"
        isLeft: false
        anchors.right: parent.right
    }
}

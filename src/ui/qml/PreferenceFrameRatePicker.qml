import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// The frame rate of new recordings as one row of three segments. Tab reaches each segment; the left and
// right arrow keys move the choice as in any segmented control.
Rectangle {
    id: row
    property int value
    signal picked(int fps)

    readonly property var rates: [30, 60, 120]

    Layout.fillWidth: true
    implicitHeight: 56
    radius: Theme.radiusMedium
    color: Theme.surface
    border.color: Theme.border

    function step(by) {
        const index = rates.indexOf(value) + by
        if (index >= 0 && index < rates.length) {
            picked(rates[index])
            segments.itemAt(index).forceActiveFocus(Qt.TabFocusReason)
        }
    }

    Text {
        anchors.left: parent.left
        anchors.leftMargin: Theme.spacingL
        anchors.verticalCenter: parent.verticalCenter
        text: Strings.t("prefs.capture.frameRate", "Frame rate")
        color: Theme.textPrimary
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontBody
    }

    Rectangle {
        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingM
        anchors.verticalCenter: parent.verticalCenter
        width: choices.implicitWidth + 6
        height: 34
        radius: Theme.radiusSmall + 2
        color: Theme.canvas
        border.color: Theme.border
        Accessible.role: Accessible.Grouping
        Accessible.name: Strings.t("prefs.capture.frameRate", "Frame rate")

        Row {
            id: choices
            anchors.centerIn: parent
            spacing: 2
            Repeater {
                id: segments
                model: row.rates
                AbstractButton {
                    id: segment
                    required property int modelData
                    readonly property bool selected: row.value === modelData
                    objectName: "prefs.capture.fps" + modelData
                    text: Strings.f("prefs.capture.fps" + modelData, "%1 fps", [modelData])
                    checkable: false
                    focusPolicy: Qt.StrongFocus
                    hoverEnabled: true
                    implicitWidth: Math.max(64, label.implicitWidth + 2 * Theme.spacingM)
                    implicitHeight: 28
                    Accessible.role: Accessible.RadioButton
                    Accessible.name: text
                    Accessible.checked: selected
                    Accessible.description: Strings.t("prefs.capture.frameRate.hint", "Frames per second of new recordings")
                    Keys.onLeftPressed: row.step(-1)
                    Keys.onRightPressed: row.step(1)
                    Keys.onReturnPressed: row.picked(modelData)
                    onClicked: row.picked(modelData)

                    contentItem: Text {
                        id: label
                        text: segment.text
                        horizontalAlignment: Text.AlignHCenter
                        verticalAlignment: Text.AlignVCenter
                        color: segment.selected ? Theme.textOnAccent : Theme.textSecondary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontCaption + 1
                        font.weight: segment.selected ? Font.DemiBold : Font.Medium
                    }
                    background: Rectangle {
                        radius: Theme.radiusSmall
                        color: segment.selected ? Theme.accent : segment.hovered ? Theme.surfaceHover : "transparent"
                        Behavior on color { ColorAnimation { duration: Theme.durationFast } }
                        Rectangle {
                            anchors.fill: parent
                            anchors.margins: -2
                            radius: parent.radius + 2
                            color: "transparent"
                            border.width: Theme.focusRingWidth
                            border.color: Theme.focusRing
                            visible: segment.visualFocus
                        }
                    }
                }
            }
        }
    }
}

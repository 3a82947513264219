import QtQuick
import QtQuick.Controls
import Orvane.Ui

// The program's button: a primary (accent), secondary (raised surface), destructive (record red) or
// plain (text only) kind, with a visible focus ring, the hint as its accessible description, and Return
// as well as Space pressing it from the keyboard.
Button {
    id: control
    property string kind: "secondary"
    property string hint
    property string iconName

    focusPolicy: Qt.StrongFocus
    Accessible.name: text
    Accessible.description: hint
    font.family: Theme.fontFamily
    font.pixelSize: Theme.fontBody
    font.weight: Font.DemiBold
    leftPadding: Theme.spacingL
    rightPadding: Theme.spacingL
    topPadding: Theme.spacingS + 2
    bottomPadding: Theme.spacingS + 2
    hoverEnabled: true

    Keys.onReturnPressed: control.clicked()
    Keys.onEnterPressed: control.clicked()

    readonly property color fillColor: {
        if (!enabled)
            return kind === "plain" ? "transparent" : Theme.surfaceRaised
        switch (kind) {
        case "primary":
            return down ? Theme.accentPressed : (hovered ? Theme.accentHover : Theme.accent)
        case "destructive":
            return down ? Theme.recordPressed : Theme.record
        case "plain":
            return hovered || down ? Theme.surfaceHover : "transparent"
        }
        return down ? Theme.surface : (hovered ? Theme.surfaceHover : Theme.surfaceRaised)
    }

    contentItem: Row {
        spacing: Theme.spacingS
        Icon {
            visible: control.iconName.length > 0
            name: control.iconName
            size: control.font.pixelSize + 2
            color: label.color
            anchors.verticalCenter: parent.verticalCenter
        }
        Text {
            id: label
            text: control.text
            font: control.font
            color: !control.enabled ? Theme.textTertiary
                 : (control.kind === "primary" || control.kind === "destructive") ? Theme.textOnAccent
                 : Theme.textPrimary
            elide: Text.ElideRight
            anchors.verticalCenter: parent.verticalCenter
        }
    }

    background: Rectangle {
        implicitHeight: 36
        radius: Theme.radiusSmall
        color: control.fillColor
        border.width: control.kind === "secondary" ? 1 : 0
        border.color: Theme.border
        Rectangle {
            anchors.fill: parent
            anchors.margins: -3
            radius: parent.radius + 3
            color: "transparent"
            border.width: Theme.focusRingWidth
            border.color: Theme.focusRing
            visible: control.visualFocus
        }
    }
}

import QtQuick
import QtQuick.Controls
import Orvane.Ui

// A drop-down of the menu bar in the program's dark look.
Menu {
    id: menu
    implicitWidth: 300
    topPadding: Theme.spacingXS
    bottomPadding: Theme.spacingXS
    delegate: AppMenuItem {}

    background: Rectangle {
        implicitWidth: 300
        color: Theme.surfaceRaised
        radius: Theme.radiusMedium
        border.color: Theme.borderStrong
        border.width: 1
    }
}

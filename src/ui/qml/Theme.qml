pragma Singleton
import QtQuick
import Orvane.Ui

// The program's look in one place: colours, radii, spacing and the type scale. Views use these names and
// never literal values, so the look changes here alone.
QtObject {
    // Surfaces, darkest first.
    readonly property color canvas: "#0F1115"
    readonly property color surface: "#171A21"
    readonly property color surfaceRaised: "#1F232C"
    readonly property color surfaceHover: "#272C37"
    readonly property color border: "#2E3440"
    readonly property color borderStrong: "#3B4252"

    // Text.
    readonly property color textPrimary: "#F2F4F8"
    readonly property color textSecondary: "#A9B1C1"
    readonly property color textTertiary: "#6F7889"

    // The brand and the states.
    readonly property color accent: "#7C6CFF"
    readonly property color accentHover: "#9184FF"
    readonly property color accentPressed: "#6656F0"
    readonly property color textOnAccent: "#FFFFFF"
    readonly property color record: "#FF4D5E"
    readonly property color recordPressed: "#E23A4B"
    readonly property color success: "#3DD68C"
    readonly property color warning: "#FFB547"
    readonly property color focusRing: "#A99FFF"
    readonly property color scrim: "#B3000000"

    // Radii.
    readonly property int radiusSmall: 6
    readonly property int radiusMedium: 10
    readonly property int radiusLarge: 16

    // Spacing, on a 4-pixel grid.
    readonly property int spacingXS: 4
    readonly property int spacingS: 8
    readonly property int spacingM: 12
    readonly property int spacingL: 16
    readonly property int spacingXL: 24
    readonly property int spacingXXL: 40

    // Type: Inter at a fixed scale.
    readonly property string fontFamily: "Inter"
    readonly property string monoFamily: "DejaVu Sans Mono"
    readonly property int fontCaption: 12
    readonly property int fontBody: 14
    readonly property int fontBodyLarge: 16
    readonly property int fontTitle: 20
    readonly property int fontHeadline: 28
    readonly property int fontDisplay: 40
    readonly property int fontCountdown: 160

    readonly property int focusRingWidth: 2

    // Motion.
    readonly property int durationFast: 120
    readonly property int durationMedium: 250
}

#include "KeyCodeTable.h"

#include <xkbcommon/xkbcommon-keysyms.h>

#include <algorithm>
#include <array>
#include <utility>

namespace orvane {

namespace {

// Mac virtual key codes.
enum MacKey : int {
    kA = 0x00,
    kS = 0x01,
    kD = 0x02,
    kF = 0x03,
    kH = 0x04,
    kG = 0x05,
    kZ = 0x06,
    kX = 0x07,
    kC = 0x08,
    kV = 0x09,
    kIsoSection = 0x0A,
    kB = 0x0B,
    kQ = 0x0C,
    kW = 0x0D,
    kE = 0x0E,
    kR = 0x0F,
    kY = 0x10,
    kT = 0x11,
    k1 = 0x12,
    k2 = 0x13,
    k3 = 0x14,
    k4 = 0x15,
    k6 = 0x16,
    k5 = 0x17,
    kEqual = 0x18,
    k9 = 0x19,
    k7 = 0x1A,
    kMinus = 0x1B,
    k8 = 0x1C,
    k0 = 0x1D,
    kRightBracket = 0x1E,
    kO = 0x1F,
    kU = 0x20,
    kLeftBracket = 0x21,
    kI = 0x22,
    kP = 0x23,
    kReturn = 0x24,
    kL = 0x25,
    kJ = 0x26,
    kQuote = 0x27,
    kK = 0x28,
    kSemicolon = 0x29,
    kBackslash = 0x2A,
    kComma = 0x2B,
    kSlash = 0x2C,
    kN = 0x2D,
    kM = 0x2E,
    kPeriod = 0x2F,
    kTab = 0x30,
    kSpace = 0x31,
    kGrave = 0x32,
    kDelete = 0x33,
    kEscape = 0x35,
    kRightCommand = 0x36,
    kCommand = 0x37,
    kShift = 0x38,
    kCapsLock = 0x39,
    kOption = 0x3A,
    kControl = 0x3B,
    kRightShift = 0x3C,
    kRightOption = 0x3D,
    kRightControl = 0x3E,
    kF17 = 0x40,
    kKeypadDecimal = 0x41,
    kKeypadMultiply = 0x43,
    kKeypadPlus = 0x45,
    kKeypadClear = 0x47,
    kVolumeUp = 0x48,
    kVolumeDown = 0x49,
    kMute = 0x4A,
    kKeypadDivide = 0x4B,
    kKeypadEnter = 0x4C,
    kKeypadMinus = 0x4E,
    kF18 = 0x4F,
    kF19 = 0x50,
    kKeypadEquals = 0x51,
    kKeypad0 = 0x52,
    kKeypad1 = 0x53,
    kKeypad2 = 0x54,
    kKeypad3 = 0x55,
    kKeypad4 = 0x56,
    kKeypad5 = 0x57,
    kKeypad6 = 0x58,
    kKeypad7 = 0x59,
    kF20 = 0x5A,
    kKeypad8 = 0x5B,
    kKeypad9 = 0x5C,
    kJisYen = 0x5D,
    kJisUnderscore = 0x5E,
    kJisKeypadComma = 0x5F,
    kF5 = 0x60,
    kF6 = 0x61,
    kF7 = 0x62,
    kF3 = 0x63,
    kF8 = 0x64,
    kF9 = 0x65,
    kJisEisu = 0x66,
    kF11 = 0x67,
    kJisKana = 0x68,
    kF13 = 0x69,
    kF16 = 0x6A,
    kF14 = 0x6B,
    kF10 = 0x6D,
    kF12 = 0x6F,
    kF15 = 0x71,
    kHelp = 0x72,
    kHome = 0x73,
    kPageUp = 0x74,
    kForwardDelete = 0x75,
    kF4 = 0x76,
    kEnd = 0x77,
    kF2 = 0x78,
    kPageDown = 0x79,
    kF1 = 0x7A,
    kLeftArrow = 0x7B,
    kRightArrow = 0x7C,
    kDownArrow = 0x7D,
    kUpArrow = 0x7E,
};

constexpr std::array<int, 26> letters = {kA, kB, kC, kD, kE, kF, kG, kH, kI, kJ, kK, kL, kM,
                                         kN, kO, kP, kQ, kR, kS, kT, kU, kV, kW, kX, kY, kZ};
constexpr std::array<int, 10> digits = {k0, k1, k2, k3, k4, k5, k6, k7, k8, k9};
constexpr std::array<int, 10> keypadDigits = {kKeypad0, kKeypad1, kKeypad2, kKeypad3, kKeypad4,
                                              kKeypad5, kKeypad6, kKeypad7, kKeypad8, kKeypad9};
constexpr std::array<int, 20> functionKeys = {kF1,  kF2,  kF3,  kF4,  kF5,  kF6,  kF7,  kF8,  kF9,  kF10,
                                              kF11, kF12, kF13, kF14, kF15, kF16, kF17, kF18, kF19, kF20};

// Everything but letters, digits and function keys, sorted by keysym for binary search.
constexpr auto keysymTable = [] {
    auto t = std::to_array<std::pair<std::uint32_t, int>>({
        {XKB_KEY_space, kSpace},
        {XKB_KEY_apostrophe, kQuote},
        {XKB_KEY_comma, kComma},
        {XKB_KEY_minus, kMinus},
        {XKB_KEY_period, kPeriod},
        {XKB_KEY_slash, kSlash},
        {XKB_KEY_semicolon, kSemicolon},
        {XKB_KEY_equal, kEqual},
        {XKB_KEY_bracketleft, kLeftBracket},
        {XKB_KEY_backslash, kBackslash},
        {XKB_KEY_bracketright, kRightBracket},
        {XKB_KEY_grave, kGrave},
        {XKB_KEY_section, kIsoSection},
        {XKB_KEY_less, kIsoSection},
        {XKB_KEY_yen, kJisYen},
        {XKB_KEY_underscore, kJisUnderscore},
        {XKB_KEY_BackSpace, kDelete},
        {XKB_KEY_Tab, kTab},
        {XKB_KEY_ISO_Left_Tab, kTab},
        {XKB_KEY_Return, kReturn},
        {XKB_KEY_Escape, kEscape},
        {XKB_KEY_Delete, kForwardDelete},
        {XKB_KEY_Home, kHome},
        {XKB_KEY_Left, kLeftArrow},
        {XKB_KEY_Up, kUpArrow},
        {XKB_KEY_Right, kRightArrow},
        {XKB_KEY_Down, kDownArrow},
        {XKB_KEY_Prior, kPageUp},
        {XKB_KEY_Next, kPageDown},
        {XKB_KEY_End, kEnd},
        {XKB_KEY_Insert, kHelp},
        {XKB_KEY_Help, kHelp},
        {XKB_KEY_Num_Lock, kKeypadClear},
        {XKB_KEY_KP_Enter, kKeypadEnter},
        {XKB_KEY_KP_Home, kKeypad7},
        {XKB_KEY_KP_Left, kKeypad4},
        {XKB_KEY_KP_Up, kKeypad8},
        {XKB_KEY_KP_Right, kKeypad6},
        {XKB_KEY_KP_Down, kKeypad2},
        {XKB_KEY_KP_Prior, kKeypad9},
        {XKB_KEY_KP_Next, kKeypad3},
        {XKB_KEY_KP_End, kKeypad1},
        {XKB_KEY_KP_Begin, kKeypad5},
        {XKB_KEY_KP_Insert, kKeypad0},
        {XKB_KEY_KP_Delete, kKeypadDecimal},
        {XKB_KEY_KP_Equal, kKeypadEquals},
        {XKB_KEY_KP_Multiply, kKeypadMultiply},
        {XKB_KEY_KP_Add, kKeypadPlus},
        {XKB_KEY_KP_Separator, kJisKeypadComma},
        {XKB_KEY_KP_Subtract, kKeypadMinus},
        {XKB_KEY_KP_Decimal, kKeypadDecimal},
        {XKB_KEY_KP_Divide, kKeypadDivide},
        {XKB_KEY_Shift_L, kShift},
        {XKB_KEY_Shift_R, kRightShift},
        {XKB_KEY_Control_L, kControl},
        {XKB_KEY_Control_R, kRightControl},
        {XKB_KEY_Caps_Lock, kCapsLock},
        {XKB_KEY_Meta_L, kCommand},
        {XKB_KEY_Meta_R, kRightCommand},
        {XKB_KEY_Alt_L, kOption},
        {XKB_KEY_Alt_R, kRightOption},
        {XKB_KEY_Super_L, kCommand},
        {XKB_KEY_Super_R, kRightCommand},
        {XKB_KEY_Eisu_toggle, kJisEisu},
        {XKB_KEY_Kana_Lock, kJisKana},
        {XKB_KEY_Katakana, kJisKana},
        {XKB_KEY_ISO_Level3_Shift, kRightOption},
        {XKB_KEY_XF86AudioLowerVolume, kVolumeDown},
        {XKB_KEY_XF86AudioMute, kMute},
        {XKB_KEY_XF86AudioRaiseVolume, kVolumeUp},
    });
    std::sort(t.begin(), t.end());
    return t;
}();

// Linux evdev codes of the main block, by US position.
constexpr auto evdevTable = [] {
    auto t = std::to_array<std::pair<int, int>>({
        {1, kEscape},
        {2, k1},
        {3, k2},
        {4, k3},
        {5, k4},
        {6, k5},
        {7, k6},
        {8, k7},
        {9, k8},
        {10, k9},
        {11, k0},
        {12, kMinus},
        {13, kEqual},
        {14, kDelete},
        {15, kTab},
        {16, kQ},
        {17, kW},
        {18, kE},
        {19, kR},
        {20, kT},
        {21, kY},
        {22, kU},
        {23, kI},
        {24, kO},
        {25, kP},
        {26, kLeftBracket},
        {27, kRightBracket},
        {28, kReturn},
        {30, kA},
        {31, kS},
        {32, kD},
        {33, kF},
        {34, kG},
        {35, kH},
        {36, kJ},
        {37, kK},
        {38, kL},
        {39, kSemicolon},
        {40, kQuote},
        {41, kGrave},
        {43, kBackslash},
        {44, kZ},
        {45, kX},
        {46, kC},
        {47, kV},
        {48, kB},
        {49, kN},
        {50, kM},
        {51, kComma},
        {52, kPeriod},
        {53, kSlash},
        {57, kSpace},
    });
    std::sort(t.begin(), t.end());
    return t;
}();

} // namespace

std::optional<int> KeyCodeTable::fromKeysym(std::uint32_t sym) {
    if (sym >= XKB_KEY_a && sym <= XKB_KEY_z)
        return letters[sym - XKB_KEY_a];
    if (sym >= XKB_KEY_A && sym <= XKB_KEY_Z)
        return letters[sym - XKB_KEY_A];
    if (sym >= XKB_KEY_0 && sym <= XKB_KEY_9)
        return digits[sym - XKB_KEY_0];
    if (sym >= XKB_KEY_KP_0 && sym <= XKB_KEY_KP_9)
        return keypadDigits[sym - XKB_KEY_KP_0];
    if (sym >= XKB_KEY_F1 && sym <= XKB_KEY_F20)
        return functionKeys[sym - XKB_KEY_F1];
    const auto it =
        std::lower_bound(keysymTable.begin(), keysymTable.end(), std::pair<std::uint32_t, int>{sym, -1});
    if (it != keysymTable.end() && it->first == sym)
        return it->second;
    return std::nullopt;
}

std::optional<int> KeyCodeTable::fromEvdevCode(int code) {
    const auto it = std::lower_bound(evdevTable.begin(), evdevTable.end(), std::pair<int, int>{code, -1});
    if (it != evdevTable.end() && it->first == code)
        return it->second;
    return std::nullopt;
}

bool KeyCodeTable::isModifierKeysym(std::uint32_t sym) {
    switch (sym) {
    case XKB_KEY_Shift_L:
    case XKB_KEY_Shift_R:
    case XKB_KEY_Control_L:
    case XKB_KEY_Control_R:
    case XKB_KEY_Caps_Lock:
    case XKB_KEY_Shift_Lock:
    case XKB_KEY_Meta_L:
    case XKB_KEY_Meta_R:
    case XKB_KEY_Alt_L:
    case XKB_KEY_Alt_R:
    case XKB_KEY_Super_L:
    case XKB_KEY_Super_R:
    case XKB_KEY_Hyper_L:
    case XKB_KEY_Hyper_R:
    case XKB_KEY_ISO_Level3_Shift:
    case XKB_KEY_ISO_Level5_Shift:
    case XKB_KEY_Mode_switch:
        return true;
    default:
        return false;
    }
}

} // namespace orvane

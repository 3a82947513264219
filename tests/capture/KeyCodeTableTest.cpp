#include "capture/x11/KeyCodeTable.h"

#include "capture/x11/X11Buttons.h"

#include <gtest/gtest.h>
#include <xkbcommon/xkbcommon-keysyms.h>

using namespace orvane;

namespace {

TEST(KeyCodeTable, KeysymsMapToMacKeyCodes) {
    const std::pair<std::uint32_t, int> cases[] = {
        {XKB_KEY_a, 0},          {XKB_KEY_A, 0},          {XKB_KEY_z, 6},         {XKB_KEY_Z, 6},
        {XKB_KEY_q, 12},         {XKB_KEY_m, 46},         {XKB_KEY_1, 18},        {XKB_KEY_5, 23},
        {XKB_KEY_0, 29},         {XKB_KEY_Return, 36},    {XKB_KEY_Tab, 48},      {XKB_KEY_space, 49},
        {XKB_KEY_BackSpace, 51}, {XKB_KEY_Escape, 53},    {XKB_KEY_Delete, 117},  {XKB_KEY_Left, 123},
        {XKB_KEY_Right, 124},    {XKB_KEY_Down, 125},     {XKB_KEY_Up, 126},      {XKB_KEY_F1, 122},
        {XKB_KEY_F5, 96},        {XKB_KEY_F12, 111},      {XKB_KEY_minus, 27},    {XKB_KEY_grave, 50},
        {XKB_KEY_KP_7, 89},      {XKB_KEY_KP_Home, 89},   {XKB_KEY_KP_Enter, 76}, {XKB_KEY_Super_L, 55},
        {XKB_KEY_Shift_L, 56},   {XKB_KEY_Caps_Lock, 57}, {XKB_KEY_Alt_L, 58},    {XKB_KEY_Control_L, 59},
        {XKB_KEY_Shift_R, 60},   {XKB_KEY_Control_R, 62}, {XKB_KEY_Page_Up, 116}, {XKB_KEY_End, 119},
    };
    for (const auto& [sym, code] : cases)
        EXPECT_EQ(KeyCodeTable::fromKeysym(sym), code) << std::hex << sym;
    EXPECT_EQ(KeyCodeTable::fromKeysym(XKB_KEY_Cyrillic_ef), std::nullopt);
    EXPECT_EQ(KeyCodeTable::fromKeysym(XKB_KEY_NoSymbol), std::nullopt);
}

TEST(KeyCodeTable, PositionsStandInForUnknownSymbols) {
    // evdev KEY_A (30) is where the Cyrillic "ef" sits; KEY_Z (44), KEY_SPACE (57).
    EXPECT_EQ(KeyCodeTable::fromEvdevCode(30), 0);
    EXPECT_EQ(KeyCodeTable::fromEvdevCode(44), 6);
    EXPECT_EQ(KeyCodeTable::fromEvdevCode(57), 49);
    EXPECT_EQ(KeyCodeTable::fromEvdevCode(53), 44);
    EXPECT_EQ(KeyCodeTable::fromEvdevCode(29), std::nullopt); // left control: a modifier, not a key
    EXPECT_EQ(KeyCodeTable::fromEvdevCode(-8), std::nullopt);
}

TEST(KeyCodeTable, ModifierKeysAreNotKeys) {
    for (std::uint32_t sym : {XKB_KEY_Shift_L, XKB_KEY_Control_R, XKB_KEY_Alt_L, XKB_KEY_Super_R,
                              XKB_KEY_Caps_Lock, XKB_KEY_ISO_Level3_Shift, XKB_KEY_Meta_L})
        EXPECT_TRUE(KeyCodeTable::isModifierKeysym(sym)) << std::hex << sym;
    for (std::uint32_t sym : {XKB_KEY_a, XKB_KEY_Return, XKB_KEY_F1, XKB_KEY_Num_Lock})
        EXPECT_FALSE(KeyCodeTable::isModifierKeysym(sym)) << std::hex << sym;
}

TEST(X11Buttons, WheelStepsAndButtonNumbers) {
    EXPECT_EQ(X11Buttons::scrollStep(4), (Point{0, 1}));
    EXPECT_EQ(X11Buttons::scrollStep(5), (Point{0, -1}));
    EXPECT_EQ(X11Buttons::scrollStep(6), (Point{1, 0}));
    EXPECT_EQ(X11Buttons::scrollStep(7), (Point{-1, 0}));
    EXPECT_EQ(X11Buttons::scrollStep(8), std::nullopt);
    EXPECT_EQ(X11Buttons::fileButtonNumber(2), 2);
    EXPECT_EQ(X11Buttons::fileButtonNumber(8), 3);
    EXPECT_EQ(X11Buttons::fileButtonNumber(9), 4);
    EXPECT_EQ(X11Buttons::fileButtonNumber(12), 7);
}

} // namespace

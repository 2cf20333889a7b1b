#include "PvKeyCommand.h"

#include "PVKeyCodeConverter.h"
#include "PvKeyboardLayout.h"

#include <QKeyEvent>

namespace {

// XKB key codes are evdev codes plus 8 (X11 kept key codes below 8 for itself).
constexpr quint32 kXkbKeycodeOffset = 8;

struct QtKeyCode {
    int qtKey;
    uint16_t keyCode;
};

// Keys that name a position on every layout (function keys come from kGlyphTable).
constexpr QtKeyCode kNamedKeys[] = {
    {Qt::Key_Tab, 48},
    {Qt::Key_Backtab, 48},
    {Qt::Key_Return, 36},
    {Qt::Key_Enter, 76},
    {Qt::Key_Space, 49},
    {Qt::Key_Backspace, 51},
    {Qt::Key_Delete, 117},
    {Qt::Key_Escape, 53},
    {Qt::Key_Clear, 71},
    {Qt::Key_PageUp, 116},
    {Qt::Key_PageDown, 121},
    {Qt::Key_Left, 123},
    {Qt::Key_Right, 124},
    {Qt::Key_Up, 126},
    {Qt::Key_Down, 125},
    {Qt::Key_Home, 115},
    {Qt::Key_End, 119},
    {Qt::Key_Help, 114},
    {Qt::Key_Insert, 114},
    {Qt::Key_F20, 90},
    {Qt::Key_Menu, 110},
    {Qt::Key_Print, 105},
    {Qt::Key_ScrollLock, 107},
    {Qt::Key_Pause, 113},
};

// Keypad keys, which Qt reports as the characters they type plus Qt::KeypadModifier.
constexpr QtKeyCode kKeypadKeys[] = {
    {Qt::Key_0, 82},
    {Qt::Key_1, 83},
    {Qt::Key_2, 84},
    {Qt::Key_3, 85},
    {Qt::Key_4, 86},
    {Qt::Key_5, 87},
    {Qt::Key_6, 88},
    {Qt::Key_7, 89},
    {Qt::Key_8, 91},
    {Qt::Key_9, 92},
    {Qt::Key_Period, 65},
    {Qt::Key_Comma, 65},
    {Qt::Key_Asterisk, 67},
    {Qt::Key_Plus, 69},
    {Qt::Key_Slash, 75},
    {Qt::Key_Minus, 78},
    {Qt::Key_Equal, 81},
    {Qt::Key_Enter, 76},
    {Qt::Key_Clear, 71},
    {Qt::Key_NumLock, 71},
};

bool isModifierKey(int key)
{
    switch (key) {
    case Qt::Key_Shift:
    case Qt::Key_Control:
    case Qt::Key_Meta:
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
    case Qt::Key_CapsLock:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
    case Qt::Key_Hyper_L:
    case Qt::Key_Hyper_R:
        return true;
    default:
        return false;
    }
}

std::optional<uint16_t> keyCodeFromScanCode(quint32 scanCode)
{
    if (scanCode <= kXkbKeycodeOffset)
        return std::nullopt;
    const int mac = PvKeyboardLayout::macKeyCode(scanCode - kXkbKeycodeOffset);
    if (mac < 0)
        return std::nullopt;
    return uint16_t(mac);
}

} // namespace

std::optional<uint16_t> PvKeyCommand::keyCodeForQtKey(int qtKey, bool keypad)
{
    if (keypad) {
        for (const QtKeyCode& entry : kKeypadKeys) {
            if (entry.qtKey == qtKey)
                return entry.keyCode;
        }
    }
    if (qtKey >= Qt::Key_F1 && qtKey <= Qt::Key_F19) {
        // kGlyphTable lists F1 to F19 in order from row 18.
        return kGlyphTable[18 + (qtKey - Qt::Key_F1)].keyCode;
    }
    for (const QtKeyCode& entry : kNamedKeys) {
        if (entry.qtKey == qtKey)
            return entry.keyCode;
    }
    return std::nullopt;
}

std::optional<PvKeyCommand> PvKeyCommand::fromKeyEvent(const QKeyEvent& event)
{
    if (isModifierKey(event.key()))
        return std::nullopt;
    const Qt::KeyboardModifiers modifiers = event.modifiers();
    std::optional<uint16_t> keyCode = keyCodeFromScanCode(event.nativeScanCode());
    if (!keyCode)
        keyCode = keyCodeForQtKey(event.key(), modifiers.testFlag(Qt::KeypadModifier));
    if (!keyCode && !event.text().isEmpty()) {
        // Shift and Caps Lock change the text, not the key: look for the unmodified text.
        if (const auto layout = PvKeyboardLayout::current()) {
            QList<uint16_t> codes = layout->keyCodesForString(event.text());
            if (codes.isEmpty())
                codes = layout->keyCodesForString(event.text().toLower());
            if (!codes.isEmpty())
                keyCode = codes.front();
        }
    }
    if (!keyCode)
        return std::nullopt;
    return PvKeyCommand {*keyCode, modifierFlagsForQt(modifiers)};
}

QString PvKeyCommand::text() const
{
    return PVKeyCodeConverter::stringForKeycode(keyCode, modifierFlags);
}

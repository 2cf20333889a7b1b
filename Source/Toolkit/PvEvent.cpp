#include "PvEvent.h"

namespace {

// The Qt modifier standing for Option; Alt unless the host chose Meta.
Qt::KeyboardModifier s_optionModifier = Qt::AltModifier;

Qt::KeyboardModifier controlModifier()
{
    return s_optionModifier == Qt::AltModifier ? Qt::MetaModifier : Qt::AltModifier;
}

struct KeyCharacter {
    int key;
    char16_t character;
};

// Keys whose character is not the text they type (or which type none).
constexpr KeyCharacter kKeyCharacters[] = {
    {Qt::Key_Return, 13},
    {Qt::Key_Enter, 3},
    {Qt::Key_Tab, 9},
    {Qt::Key_Backtab, 0x19},
    {Qt::Key_Escape, 27},
    {Qt::Key_Backspace, 127},
    {Qt::Key_Up, PvUpArrowFunctionKey},
    {Qt::Key_Down, PvDownArrowFunctionKey},
    {Qt::Key_Left, PvLeftArrowFunctionKey},
    {Qt::Key_Right, PvRightArrowFunctionKey},
    {Qt::Key_Insert, PvInsertFunctionKey},
    {Qt::Key_Delete, PvDeleteFunctionKey},
    {Qt::Key_Home, PvHomeFunctionKey},
    {Qt::Key_End, PvEndFunctionKey},
    {Qt::Key_PageUp, PvPageUpFunctionKey},
    {Qt::Key_PageDown, PvPageDownFunctionKey},
    {Qt::Key_Print, PvPrintScreenFunctionKey},
    {Qt::Key_ScrollLock, PvScrollLockFunctionKey},
    {Qt::Key_Pause, PvPauseFunctionKey},
    {Qt::Key_SysReq, PvSysReqFunctionKey},
    {Qt::Key_Menu, PvMenuFunctionKey},
    {Qt::Key_Clear, PvClearLineFunctionKey},
    {Qt::Key_Help, PvHelpFunctionKey},
};

} // namespace

Qt::KeyboardModifier pv_optionModifier()
{
    return s_optionModifier;
}

void pv_setOptionModifier(Qt::KeyboardModifier modifier)
{
    if (modifier == Qt::AltModifier || modifier == Qt::MetaModifier)
        s_optionModifier = modifier;
}

uint32_t pv_modifierFlagsForQt(Qt::KeyboardModifiers modifiers)
{
    uint32_t flags = 0;
    if (modifiers & Qt::ShiftModifier)
        flags |= PvShiftKeyMask;
    if (modifiers & controlModifier())
        flags |= PvControlKeyMask;
    if (modifiers & s_optionModifier)
        flags |= PvAlternateKeyMask;
    if (modifiers & Qt::ControlModifier)
        flags |= PvCommandKeyMask;
    if (modifiers & Qt::KeypadModifier)
        flags |= PvNumericPadKeyMask;
    return flags;
}

Qt::KeyboardModifiers pv_qtModifiersForFlags(uint32_t flags)
{
    Qt::KeyboardModifiers modifiers;
    if (flags & PvShiftKeyMask)
        modifiers |= Qt::ShiftModifier;
    if (flags & PvControlKeyMask)
        modifiers |= controlModifier();
    if (flags & PvAlternateKeyMask)
        modifiers |= s_optionModifier;
    if (flags & PvCommandKeyMask)
        modifiers |= Qt::ControlModifier;
    if (flags & PvNumericPadKeyMask)
        modifiers |= Qt::KeypadModifier;
    return modifiers;
}

char16_t pv_keyCharacterForQtKey(int key, const QString& text, Qt::KeyboardModifiers modifiers)
{
    for (const KeyCharacter& k : kKeyCharacters)
        if (k.key == key)
            return k.character;
    if (key >= Qt::Key_F1 && key <= Qt::Key_F35)
        return char16_t(PvF1FunctionKey + (key - Qt::Key_F1));
    // Letters: Control and Option change the text Qt reports (control characters, dead
    // keys), so the key decides, and only Shift picks the case.
    if (key >= Qt::Key_A && key <= Qt::Key_Z) {
        const char16_t upper = char16_t(key);
        return (modifiers & Qt::ShiftModifier) ? upper : char16_t(upper - 'A' + 'a');
    }
    if (text.size() == 1 && text.at(0).unicode() >= 0x20 && text.at(0).unicode() != 0x7F)
        return text.at(0).unicode();
    // Other printable keys under Control or Option: the Latin-1 Qt key is the character.
    if (key >= 0x20 && key < 0x7F)
        return char16_t(key);
    if (key >= 0xA0 && key <= 0xFF)
        return char16_t(key);
    return 0;
}

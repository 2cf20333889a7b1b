// PvKeyCommand: a key command (key code and modifier flags) recorded from a Qt key event.
#pragma once

#include "PvEvent.h"

#include <QString>
#include <Qt>

#include <cstdint>
#include <optional>

class QKeyEvent;

/**
    A key command as the key-command tables store it: a Mac virtual key code and AppKit
    modifier flags (PvShiftKeyMask and its siblings). Hosts' key-command editors make one
    from each key press and show it with text(), e.g. "⌃⌥⇧⌘F5".

    Modifiers follow the framework's one mapping, pv_modifierFlagsForQt(): Qt's own
    cross-platform convention, so that key commands recorded on one system mean the same
    keys on the other: Qt::ControlModifier (Ctrl here, ⌘ on a Mac) is ⌘, Qt::AltModifier
    is ⌥ and Qt::MetaModifier (the Super key) ⌃ unless the host chose Meta for Option
    (pv_setOptionModifier()), Shift is ⇧, Qt::KeypadModifier is PvNumericPadKeyMask.

    A plain value type; fromKeyEvent() reads the current keyboard layout and so belongs
    on the main thread.
*/
struct PvKeyCommand {
    uint16_t keyCode = 0; ///< Mac virtual key code
    uint32_t modifierFlags = 0; ///< AppKit modifier flags

    /**
        The key command of a key press.

        The key comes from the event's native scan code, which Qt reports on Linux
        (xcb, Wayland, libinput) as the XKB key code, the evdev code plus 8: so the same
        key gives the same key code under every layout. Events without a scan code
        (synthesised ones) fall back to keyCodeForQtKey() and then to the key under the
        current layout that types the event's text.
        @returns the command, or std::nullopt for a press of a modifier key alone
                 (Shift, Ctrl, Alt, Meta, AltGr, Caps Lock, ...) and for keys that no Mac
                 key code names.
    */
    static std::optional<PvKeyCommand> fromKeyEvent(const QKeyEvent& event);

    /** The modifier flags of Qt keyboard modifiers: pv_modifierFlagsForQt(). */
    static uint32_t modifierFlagsForQt(Qt::KeyboardModifiers modifiers)
    {
        return pv_modifierFlagsForQt(modifiers);
    }

    /** The Qt keyboard modifiers of modifier flags: pv_qtModifiersForFlags(). */
    static Qt::KeyboardModifiers qtModifiersForFlags(uint32_t flags) { return pv_qtModifiersForFlags(flags); }

    /**
        The Mac key code of a Qt key that names a key position whatever the layout:
        function keys F1 to F20, navigation and editing keys, Tab, Return, Enter, Escape,
        Space, Help (and Insert, which sits in its place), Clear; with keypad set, also
        the keypad digits and operators.
        @returns std::nullopt for character keys and unknown keys.
    */
    static std::optional<uint16_t> keyCodeForQtKey(int qtKey, bool keypad = false);

    /** The readable text: PVKeyCodeConverter::stringForKeycode(keyCode, modifierFlags). */
    QString text() const;

    bool operator==(const PvKeyCommand&) const = default;
};

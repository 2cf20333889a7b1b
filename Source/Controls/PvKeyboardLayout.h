// PvKeyboardLayout: what the keys of the current keyboard layout type, through libxkbcommon.
#pragma once

#include <QList>
#include <QString>

#include <cstdint>
#include <memory>

/** The name of an XKB keyboard layout: a layout such as "de" and an optional variant such as "nodeadkeys". */
struct PvKeyboardLayoutName {
    QString layout;
    QString variant;

    /** True when no layout is named. */
    bool isEmpty() const { return layout.isEmpty(); }
    /** "us" or, with a variant, "us(intl)": the form XKB uses in its own listings. */
    QString identifier() const;
    bool operator==(const PvKeyboardLayoutName&) const = default;
};

/**
    A compiled keyboard layout: which text each key of the keyboard types when no
    modifier is held.

    Keys are named by the Mac virtual key codes that key-command tables, stored key
    commands and PVKeyCodeConverter use (0 is the "A" position, 122 is F1). One table maps
    every key of an extended keyboard, keypad and function keys included, to the Linux
    evdev code of the same key position; XKB then says what the key types under a
    layout. Keys of the ISO and JIS keyboards have their own codes (10 is the key left of
    the left shift key on ISO keyboards, 93 the yen key, 94 the JIS underscore key).

    The current layout is, in this order: the one the host set with setHostLayout(); else
    the environment's XKB_DEFAULT_LAYOUT (with XKB_DEFAULT_VARIANT); else XKBLAYOUT (with
    XKBVARIANT) of the system keyboard configuration "/etc/default/keyboard"; else "us".
    Of a list such as "de,us" the first layout (and first variant) counts: that is the
    group a key produces without a group switch.

    The keymap uses the "evdev" rules and the "pc105" model, with NumLock on, so that the
    keypad types digits as it does on a Mac keyboard, which has no NumLock.

    Objects are immutable once made and are shared through std::shared_ptr; current()
    keeps the last compiled layout until the current layout's name changes. Main thread
    only: the host layout and that cache are unguarded process-wide state.
*/
class PvKeyboardLayout {
public:
    ~PvKeyboardLayout();
    PvKeyboardLayout(const PvKeyboardLayout&) = delete;
    PvKeyboardLayout& operator=(const PvKeyboardLayout&) = delete;

    /** The system keyboard configuration read when neither host nor environment names a layout. */
    static constexpr const char* kSystemKeyboardConfig = "/etc/default/keyboard";

    /**
        Compiles a layout.
        @returns the layout, or nullptr when the name is empty, holds characters other
                 than ASCII letters, digits, '_' and '-', or XKB does not know the layout
                 or its variant.
    */
    static std::shared_ptr<const PvKeyboardLayout> create(const PvKeyboardLayoutName& name);

    /**
        The current layout (see the class description), compiled on first use and again
        whenever the current name changes.
        @returns nullptr when the current name does not compile (a host layout XKB does
                 not know); callers then have no layout and give empty answers.
    */
    static std::shared_ptr<const PvKeyboardLayout> current();

    /**
        Makes a layout the current one for this process, ahead of the environment and the
        system configuration. An empty name removes the host's choice.
    */
    static void setHostLayout(const PvKeyboardLayoutName& name);

    /** The layout the host set, or an empty name. */
    static PvKeyboardLayoutName hostLayout();

    /** The name of the current layout: resolveLayoutName() of kSystemKeyboardConfig. */
    static PvKeyboardLayoutName currentLayoutName();

    /**
        The name of the current layout when the system keyboard configuration is the file
        at systemConfigPath (a missing or unreadable file counts as naming no layout).
        Never empty: "us" is the last resort.
    */
    static PvKeyboardLayoutName resolveLayoutName(const QString& systemConfigPath);

    /**
        The layout named by the contents of a keyboard configuration file in the format
        of /etc/default/keyboard (shell assignments XKBLAYOUT=... and XKBVARIANT=..., values
        optionally quoted, '#' comments).
        @returns the first layout and variant listed, or an empty name when XKBLAYOUT is
                 missing or empty.
    */
    static PvKeyboardLayoutName layoutNameFromConfig(const QByteArray& contents);

    /**
        The evdev key code (as in linux/input-event-codes.h) of the key with a Mac virtual
        key code.
        @returns 0 for codes above 127 and for the few codes no key has (52, 66, 68, 70,
                 77, 108, 112, 127).
    */
    static uint32_t evdevKeyCode(uint16_t macKeyCode);

    /**
        The Mac virtual key code of an evdev key code; the inverse of evdevKeyCode(). The
        PC keys Print, Scroll Lock and Pause, which sit where an Apple extended keyboard
        has F13, F14 and F15, give those codes.
        @returns -1 for keys no Mac keyboard has.
    */
    static int macKeyCode(uint32_t evdevKeyCode);

    /** The name this layout was compiled from. */
    const PvKeyboardLayoutName& name() const { return m_name; }

    /** name().identifier(), e.g. "de" or "us(intl)". */
    QString identifier() const { return m_name.identifier(); }

    /**
        The text a key types with no modifier held.

        Keys that type a control character give it (Return "\r", Tab "\t", Escape "\x1b",
        backspace "\b", forward delete "\x7f"). A dead key gives the spacing form of its
        accent ("´" for a dead acute, "^" for a dead circumflex) and sets *isDeadKey.
        @param isDeadKey when not null, receives whether the key is a dead key.
        @returns the text, or a null string for a key that types nothing (modifier keys,
                 function keys, key codes without a key).
    */
    QString translate(uint16_t macKeyCode, bool* isDeadKey = nullptr) const;

    /**
        The Mac key codes of the keys that type text with no modifier held, in ascending
        order (a layout may type the same character with two keys, e.g. "1" on the main
        keyboard and the keypad). An empty list when no key types it.
    */
    QList<uint16_t> keyCodesForString(const QString& text) const;

private:
    struct Private;
    explicit PvKeyboardLayout(std::unique_ptr<Private> d);
    std::unique_ptr<Private> d;
    PvKeyboardLayoutName m_name;
};

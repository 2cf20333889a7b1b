// PVKeyCodeConverter: key codes, classic Mac Roman key characters and AppKit function-key
// characters, turned into one another and into readable key-command texts.
#pragma once

#include "PvEvent.h"
#include "PvKeyboardLayout.h"

#include <QHash>
#include <QList>
#include <QString>

#include <cstdint>
#include <memory>

/** One row of kGlyphTable: the codes and pictures of one special key. */
struct PvKeyGlyph {
    const char* name; ///< readable name ("Page up"), ASCII
    uint16_t keyCode; ///< Mac virtual key code
    uint16_t macRomanCode; ///< character code of the classic event model, 0 for none
    uint16_t glyphChar; ///< Unicode character that shows the key, 0 to show the name
    uint16_t glyph; ///< menu glyph number, 0 for none
    uint16_t appKitChar; ///< character the AppKit event model reports
    uint16_t reserved; ///< always 0
    uint32_t modifierFlags; ///< flags the AppKit model adds for the key (function key, numeric pad)
};

/** Number of rows of kGlyphTable. */
inline constexpr int kGlyphTableCount = 37;

/**
    The special keys, searched front to back (the first match wins). "Tab" has two rows
    (the second, with the back-tab glyph, is never found by key code); there are two
    "Delete" keys (forward delete 117, backspace 51); "Clear" shares the classic code 0x1B
    with "Escape", so a search by that code finds "Escape".
*/
inline constexpr PvKeyGlyph kGlyphTable[kGlyphTableCount] = {
    {"Tab", 48, 0x09, 0x21E5, 0x02, 0x0009, 0, 0},
    {"Tab", 48, 0x09, 0x21E4, 0x03, 0x0009, 0, 0},
    {"Enter", 76, 0x03, 0x2305, 0x04, 0x0003, 0, 0},
    {"Space", 49, 0x20, 0x02FD, 0x09, 0x0020, 0, 0},
    {"Delete", 117, 0x7F, 0x2326, 0x0A, 0xF728, 0, 0x800000},
    {"Delete", 51, 0x08, 0x232B, 0x17, 0x007F, 0, 0},
    {"Return", 36, 0x0D, 0x21A9, 0x0B, 0x000D, 0, 0},
    {"Escape", 53, 0x1B, 0x238B, 0x1B, 0x001B, 0, 0},
    {"Clear", 71, 0x1B, 0x2327, 0x1C, 0xF739, 0, 0x800000},
    {"Page up", 116, 0x0B, 0x21DE, 0x62, 0xF72C, 0, 0x800000},
    {"Page down", 121, 0x0C, 0x21DF, 0x6B, 0xF72D, 0, 0x800000},
    {"Left", 123, 0x1C, 0x2190, 0x64, 0xF702, 0, 0xA00000},
    {"Right", 124, 0x1D, 0x2192, 0x65, 0xF703, 0, 0xA00000},
    {"Up", 126, 0x1E, 0x2191, 0x68, 0xF700, 0, 0xA00000},
    {"Down", 125, 0x1F, 0x2193, 0x6A, 0xF701, 0, 0xA00000},
    {"Home", 115, 0x01, 0x2196, 0x66, 0xF729, 0, 0x800000},
    {"End", 119, 0x04, 0x2198, 0x69, 0xF72B, 0, 0x800000},
    {"Help", 114, 0x05, 0, 0x67, 0xF746, 0, 0x800000},
    {"F1", 122, 0, 0, 0x6F, 0xF704, 0, 0},
    {"F2", 120, 0, 0, 0x70, 0xF705, 0, 0},
    {"F3", 99, 0, 0, 0x71, 0xF706, 0, 0},
    {"F4", 118, 0, 0, 0x72, 0xF707, 0, 0},
    {"F5", 96, 0, 0, 0x73, 0xF708, 0, 0},
    {"F6", 97, 0, 0, 0x74, 0xF709, 0, 0},
    {"F7", 98, 0, 0, 0x75, 0xF70A, 0, 0},
    {"F8", 100, 0, 0, 0x76, 0xF70B, 0, 0},
    {"F9", 101, 0, 0, 0x77, 0xF70C, 0, 0},
    {"F10", 109, 0, 0, 0x78, 0xF70D, 0, 0},
    {"F11", 103, 0, 0, 0x79, 0xF70E, 0, 0},
    {"F12", 111, 0, 0, 0x7A, 0xF70F, 0, 0},
    {"F13", 105, 0, 0, 0x87, 0xF710, 0, 0},
    {"F14", 59, 0, 0, 0x88, 0xF711, 0, 0},
    {"F15", 113, 0, 0, 0x89, 0xF712, 0, 0},
    {"F16", 106, 0, 0, 0, 0xF713, 0, 0},
    {"F17", 64, 0, 0, 0, 0xF714, 0, 0},
    {"F18", 79, 0, 0, 0, 0xF715, 0, 0},
    {"F19", 80, 0, 0, 0, 0xF716, 0, 0},
};

/**
    Key codes, Mac Roman key characters and AppKit function-key characters turned into
    one another and into readable key-command texts such as "⌃⌥⇧⌘F5" or "⌘Page up".

    Hosts use it to show, edit and store key commands independently of the active
    keyboard layout. Everything is static. Keys are named by Mac virtual key codes;
    PvKeyboardLayout says what they type under the current layout, and PvKeyCommand
    makes a key code and modifier flags from a Qt key event.

    A "nil" answer is a null QString (isNull()); texts that exist are never null.

    State: only the key-character dictionary, built on first use from the layout that is
    current then and kept, unchanged, for the life of the process. Main thread only.
*/
class PVKeyCodeConverter {
public:
    PVKeyCodeConverter() = delete;

    /**
        The symbols of the modifier flags, in the order ⌃ (PvControlKeyMask), ⌥
        (PvAlternateKeyMask), ⇧ (PvShiftKeyMask), ⌘ (PvCommandKeyMask); other bits are ignored.
        @returns the symbols, or a null string when none of the four flags is set.
    */
    static QString modifierString(uint32_t flags);

    /** The name of the first kGlyphTable row with this AppKit character; null for 0 or no row. */
    static QString stringForKeyCharFromTable(uint16_t appKitChar);

    /**
        For the first kGlyphTable row with this key code: its glyph character as a
        one-character string, or its name when it has no glyph character. Null for key
        code 0 (never looked up, being the "A" key on most layouts) and when no row matches.
    */
    static QString stringForKeyCodeFromTable(uint16_t keyCode);

    /** As stringForKeyCodeFromTable(), searched by Mac Roman code (0 finds nothing). */
    static QString stringForCharCodeFromTable(uint16_t macRomanCode);

    /** The current keyboard layout (PvKeyboardLayout::current()); null when it does not compile. */
    static std::shared_ptr<const PvKeyboardLayout> getKeyboardLayout();

    /**
        The text a key types with no modifier held under the current layout.
        @param isDeadKey when not null, receives whether the key is a dead key (the text is
               then its accent, e.g. "´").
        @param upper upper-case the text, except where that gives "SS" (a sharp s stays "ß").
        @returns the text, or null when there is no layout or the key types nothing.
    */
    static QString translateKeyCode(uint16_t keyCode, bool* isDeadKey, bool upper);

    /** translateKeyCode(keyCode, nullptr, true). */
    static QString translateKeyCode(uint16_t keyCode);

    /**
        Builds the key-character dictionary if it does not exist yet: for the key codes 0
        to 128 in ascending order, the text each types (not upper-cased) maps to the key
        codes that type it. Keys that type nothing are left out. Later layout changes are
        not picked up.
    */
    static void generateKeyCharToKeyCodeLUT();

    /**
        The Mac Roman character of a key: the classic code of its kGlyphTable row (0 for
        the function keys, which have none), else the first byte of the key's translated
        text in Mac Roman ('?' for a character Mac Roman lacks, 0 when it types nothing).
    */
    static unsigned char keyCharForKeyCode(uint16_t keyCode);

    /**
        The key code of the key that types a Mac Roman character, from the key-character
        dictionary (built on first use).
        @param more when not null, receives whether more than one key types it.
        @returns the lowest such key code, or 0 when no key types it.
    */
    static uint16_t keyCodeForKeyChar(unsigned char macRomanChar, bool* more);

    /** The menu glyph number of a key's kGlyphTable row; 0 for key code 0 or no row. */
    static uint16_t glyphForKeycode(uint16_t keyCode);

    /**
        The one-character text the AppKit event model reports for a key: for a
        kGlyphTable row its AppKit character, with the row's modifier flags ORed into
        *flags; else the key's text under the current layout (not upper-cased), flags
        unchanged.
        @param flags may be null.
    */
    static QString appKitStringForKeycode(uint16_t keyCode, uint32_t* flags);

    /** Readable key command of a key code: modifierString() then the table's text, else the translated key.
     */
    static QString stringForKeycode(uint16_t keyCode, uint32_t flags);

    /** Readable key command of a Mac Roman character: modifierString() then the table's text, else the
     * character. */
    static QString stringForMacRomanCharCode(unsigned char code, uint32_t flags);

    /**
        Readable key command of an AppKit character: modifierString() then the table's
        name, else the character upper-cased (a sharp s stays "ß").
    */
    static QString humandReadableStringForKeyChar(uint16_t appKitChar, uint32_t flags);

private:
    // Created on first use and never released; see generateKeyCharToKeyCodeLUT().
    static QHash<QString, QList<uint16_t>>* s_keyCharToKeyCodeLUT;
};

extern "C" {

/**
    The AppKit character of a classic key code: 1 home, 4 end, 5 help, 11 page up, 12
    page down, 27 clear (not escape: the classic model gives both keys 27), 28 to 31 the
    arrows, 127 forward delete. Every other code is returned unchanged.
*/
unsigned MacRomanCharacterCode2AppKitCode(unsigned code);

/**
    The classic code of an AppKit character: the inverse of
    MacRomanCharacterCode2AppKitCode(); 16 for the function keys F1 to F35 (0xF704 to
    0xF726); 0 for every other character.
*/
unsigned AppKitFunctionKey2MacRomanCharCode(unsigned appKitChar);
}

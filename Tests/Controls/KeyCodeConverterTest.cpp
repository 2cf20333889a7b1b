#include "TestSupport.h"
#include <Pavo/PavoUI.h>

#include <QKeyEvent>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>

#include <gtest/gtest.h>

#include <set>
#include <tuple>

namespace {

constexpr uint32_t kAllFour = PvControlKeyMask | PvAlternateKeyMask | PvShiftKeyMask | PvCommandKeyMask;

QString ch(char16_t c)
{
    return QString(QChar(c));
}

// Makes a layout the host's choice for a scope and restores the previous choice afterwards.
class HostLayout {
public:
    explicit HostLayout(const QString& layout, const QString& variant = QString())
        : m_previous(PvKeyboardLayout::hostLayout())
    {
        PvKeyboardLayout::setHostLayout({layout, variant});
    }
    ~HostLayout() { PvKeyboardLayout::setHostLayout(m_previous); }

private:
    PvKeyboardLayoutName m_previous;
};

using PavoTest::EnvVar;

} // namespace

// The dictionary is made once per process from the layout current at first use, so
// this test takes "us" before anything else asks for it.
TEST(KeyCodeConverter, KeyCharDictionaryIsBuiltOnceFromTheFirstLayout)
{
    HostLayout us("us");
    // "1" is typed by the main keyboard (18) and the keypad (83), Return by 36 and Enter: the
    // lowest wins, and "more" tells of the other. Key code 0 is "a"; 0 also answers upper
    // case, which needs a modifier, and "ä" (Mac Roman 0x8A), which no key types.
    const std::tuple<unsigned char, uint16_t, bool> rows[] = {{'z', 6, false}, {'1', 18, true},
        {'a', 0, false}, {'Z', 0, false}, {0x8A, 0, false}, {'\r', 36, true}};
    for (const auto& [keyChar, keyCode, more] : rows) {
        SCOPED_TRACE(int(keyChar));
        bool reported = !more;
        EXPECT_EQ(PVKeyCodeConverter::keyCodeForKeyChar(keyChar, &reported), keyCode);
        EXPECT_EQ(reported, more);
    }

    HostLayout de("de");
    EXPECT_EQ(PVKeyCodeConverter::translateKeyCode(16), "Z"); // the layout did change ...
    EXPECT_EQ(PVKeyCodeConverter::keyCodeForKeyChar('z', nullptr), 6); // ... the dictionary did not
}

TEST(KeyCodeConverter, TextsAndCharactersOfKeys)
{
    HostLayout de("de");
    using C = PVKeyCodeConverter;
    // Table searches take the first matching row.
    EXPECT_EQ(C::stringForKeyCodeFromTable(48), ch(0x21E5)); // first Tab row, not the back-tab glyph
    EXPECT_TRUE(C::stringForKeyCodeFromTable(1).isNull());
    EXPECT_EQ(C::stringForCharCodeFromTable(0x1B), ch(0x238B)); // Escape, never Clear
    EXPECT_TRUE(C::stringForCharCodeFromTable('a').isNull());
    EXPECT_EQ(C::stringForKeyCharFromTable(0xF716), "F19"); // the last row
    EXPECT_TRUE(C::stringForKeyCharFromTable(0xF717).isNull());
    EXPECT_EQ(C::glyphForKeycode(53), 0x1B);
    EXPECT_EQ(C::glyphForKeycode(1), 0);

    // Zero is never looked up (the function keys have classic code 0); the key "A" translates.
    EXPECT_TRUE(C::stringForCharCodeFromTable(0).isNull());
    EXPECT_EQ(C::keyCharForKeyCode(0), 'a');
    EXPECT_EQ(C::stringForKeycode(0, PvCommandKeyMask), u"\u2318A");

    // Modifier symbols come in a fixed order; the function and keypad flags show none.
    EXPECT_EQ(C::modifierString(kAllFour | PvFunctionKeyMask), u"\u2303\u2325\u21E7\u2318");
    EXPECT_TRUE(C::modifierString(PvFunctionKeyMask | PvNumericPadKeyMask).isNull());
    EXPECT_EQ(C::stringForKeycode(96, kAllFour), u"\u2303\u2325\u21E7\u2318F5");
    EXPECT_EQ(C::stringForKeycode(53, 0), ch(0x238B));
    EXPECT_EQ(C::stringForKeycode(6, PvCommandKeyMask), u"\u2318Y"); // the Z position types y
    EXPECT_EQ(C::stringForKeycode(27, 0), u"\u00DF"); // sharp s stays lower case
    EXPECT_EQ(C::stringForKeycode(41, PvShiftKeyMask), u"\u21E7\u00D6");
    EXPECT_TRUE(C::stringForKeycode(63, PvCommandKeyMask).isNull()); // fn types nothing

    EXPECT_EQ(C::stringForMacRomanCharCode(0x03, PvCommandKeyMask), u"\u2318\u2305");
    EXPECT_EQ(C::stringForMacRomanCharCode('a', PvCommandKeyMask), u"\u2318a");
    EXPECT_EQ(C::stringForMacRomanCharCode(0x8A, 0), u"\u00E4");
    EXPECT_EQ(C::stringForMacRomanCharCode(0, 0), QString(QChar(0)));

    EXPECT_EQ(C::humandReadableStringForKeyChar(0xF72C, PvCommandKeyMask), u"\u2318Page up");
    EXPECT_EQ(C::humandReadableStringForKeyChar(0xF704, 0), "F1");
    EXPECT_EQ(C::humandReadableStringForKeyChar(u'q', PvControlKeyMask), u"\u2303Q");
    EXPECT_EQ(C::humandReadableStringForKeyChar(0x00DF, 0), u"\u00DF");
    EXPECT_EQ(C::humandReadableStringForKeyChar(0x00E9, 0), u"\u00C9");

    // Clear has the escape code, function keys and fn have none, ö is 0x9A in Mac Roman.
    const std::pair<uint16_t, unsigned char> chars[]
        = {{71, 0x1B}, {96, 0}, {6, 'y'}, {41, 0x9A}, {63, 0}, {200, 0}};
    for (const auto& [keyCode, keyChar] : chars)
        EXPECT_EQ(C::keyCharForKeyCode(keyCode), keyChar) << keyCode;

    // Keys with an AppKit function-key character add the function (and arrows the keypad) flag.
    const std::tuple<uint16_t, uint32_t, QString, uint32_t> appKit[]
        = {{123, PvCommandKeyMask, ch(0xF702), PvCommandKeyMask | 0xA00000u}, {117, 0, ch(0xF728), 0x800000u},
            {6, PvShiftKeyMask, "y", PvShiftKeyMask}};
    for (const auto& [keyCode, flagsIn, text, flagsOut] : appKit) {
        uint32_t flags = flagsIn;
        EXPECT_EQ(C::appKitStringForKeycode(keyCode, &flags), text) << keyCode;
        EXPECT_EQ(flags, flagsOut) << keyCode;
    }
    EXPECT_EQ(C::appKitStringForKeycode(96, nullptr), ch(0xF708));
}

TEST(KeyCodeConverter, KeyTablesClassicAppKitAndEvdevCodes)
{
    EXPECT_EQ(MacRomanCharacterCode2AppKitCode(27), 0xF739u); // escape is clear
    EXPECT_EQ(MacRomanCharacterCode2AppKitCode(65), 65u);
    EXPECT_EQ(MacRomanCharacterCode2AppKitCode(16), 16u);
    EXPECT_EQ(AppKitFunctionKey2MacRomanCharCode(0xF704), 16u);
    EXPECT_EQ(AppKitFunctionKey2MacRomanCharCode(0xF726), 16u);
    EXPECT_EQ(AppKitFunctionKey2MacRomanCharCode(0xF727), 0u);
    EXPECT_EQ(AppKitFunctionKey2MacRomanCharCode('a'), 0u);
    // Every table row whose classic code the functions translate goes there and back.
    for (const PvKeyGlyph& row : kGlyphTable) {
        const unsigned appKit = MacRomanCharacterCode2AppKitCode(row.macRomanCode);
        if (appKit == row.macRomanCode)
            continue;
        if (row.keyCode != 53) { // escape resolves to clear
            EXPECT_EQ(appKit, row.appKitChar) << row.name;
        }
        EXPECT_EQ(AppKitFunctionKey2MacRomanCharCode(appKit), row.macRomanCode) << row.name;
    }

    // The evdev table covers the extended keyboard, one key per code both ways.
    std::set<uint32_t> seen;
    int mapped = 0;
    for (uint16_t mac = 0; mac < 128; ++mac) {
        const uint32_t evdev = PvKeyboardLayout::evdevKeyCode(mac);
        if (evdev == 0)
            continue;
        ++mapped;
        EXPECT_TRUE(seen.insert(evdev).second) << "evdev code used twice: " << evdev;
        EXPECT_EQ(PvKeyboardLayout::macKeyCode(evdev), mac);
    }
    EXPECT_EQ(mapped, 120);
    EXPECT_EQ(PvKeyboardLayout::evdevKeyCode(128), 0u);
    EXPECT_EQ(PvKeyboardLayout::macKeyCode(0), -1);
    EXPECT_EQ(PvKeyboardLayout::macKeyCode(99), 105); // Print is F13
    EXPECT_EQ(PvKeyboardLayout::macKeyCode(0x2ff), -1);
    for (const PvKeyGlyph& row : kGlyphTable)
        EXPECT_NE(PvKeyboardLayout::evdevKeyCode(row.keyCode), 0u) << row.name;
}

TEST(KeyCodeConverter, LayoutsTypeAndReportDeadKeys)
{
    const auto us = PvKeyboardLayout::create({"us", {}}), intl = PvKeyboardLayout::create({"us", "intl"});
    const auto de = PvKeyboardLayout::create({"de", {}}), fr = PvKeyboardLayout::create({"fr", {}});
    const auto deNoDead = PvKeyboardLayout::create({"de", "nodeadkeys"});
    ASSERT_TRUE(us && intl && de && fr && deNoDead);
    EXPECT_EQ(us->identifier(), "us");
    EXPECT_EQ(us->keyCodesForString("z"), QList<uint16_t> {6});
    EXPECT_EQ(de->keyCodesForString("z"), QList<uint16_t> {16});
    EXPECT_EQ(fr->keyCodesForString("z"), QList<uint16_t> {13});
    EXPECT_EQ(fr->keyCodesForString("a"), QList<uint16_t> {12});
    EXPECT_TRUE(us->keyCodesForString(QString()).isEmpty());
    EXPECT_TRUE(us->keyCodesForString(QString(QChar(0xE4))).isEmpty());

    // Control characters for Return, Escape, Backspace and Delete; the keypad types digits,
    // as without Num Lock; F5, Shift and the unused code 52 type nothing. 10 is the ISO key.
    const QString acute(QChar(0xB4));
    const std::tuple<const PvKeyboardLayout*, uint16_t, QString, bool> typed[]
        = {{us.get(), 18, "1", false}, {fr.get(), 18, "&", false}, {de.get(), 27, ch(0xDF), false},
            {de.get(), 10, "<", false}, {us.get(), 36, "\r", false}, {us.get(), 53, "\x1b", false},
            {us.get(), 51, "\b", false}, {us.get(), 117, "\x7f", false}, {us.get(), 83, "1", false},
            {us.get(), 96, {}, false}, {us.get(), 56, {}, false}, {us.get(), 52, {}, false},
            {us.get(), 39, "'", false}, {intl.get(), 39, acute, true}, {intl.get(), 0, "a", false},
            {de.get(), 24, acute, true}, {deNoDead.get(), 24, acute, false}};
    for (const auto& [keyboard, keyCode, text, isDead] : typed) {
        SCOPED_TRACE(keyboard->identifier().toStdString() + " " + std::to_string(keyCode));
        bool dead = !isDead;
        const QString result = keyboard->translate(keyCode, &dead);
        EXPECT_EQ(result, text);
        EXPECT_EQ(result.isNull(), text.isNull());
        EXPECT_EQ(dead, isDead);
    }

    HostLayout host("us", "intl");
    bool dead = false;
    EXPECT_EQ(PVKeyCodeConverter::translateKeyCode(39, &dead, true), acute);
    EXPECT_TRUE(dead);
    EXPECT_EQ(PVKeyCodeConverter::translateKeyCode(12, &dead, true), "Q");
    EXPECT_FALSE(dead);
}

TEST(KeyCodeConverter, UnknownLayoutGivesNoTexts)
{
    const PvKeyboardLayoutName unknown[]
        = {{"no-such-layout", {}}, {}, {"us", "no-such-variant"}, {"../symbols/us", {}}, {"us", "intl)+de"}};
    for (const PvKeyboardLayoutName& name : unknown)
        EXPECT_EQ(PvKeyboardLayout::create(name), nullptr) << name.identifier().toStdString();
    HostLayout host("no-such-layout");
    EXPECT_EQ(PVKeyCodeConverter::getKeyboardLayout(), nullptr);
    bool dead = true;
    EXPECT_TRUE(PVKeyCodeConverter::translateKeyCode(0, &dead, true).isNull());
    EXPECT_FALSE(dead);
    EXPECT_TRUE(PVKeyCodeConverter::stringForKeycode(0, PvCommandKeyMask).isNull());
    EXPECT_EQ(PVKeyCodeConverter::keyCharForKeyCode(0), 0);
    // The table does not need a layout.
    EXPECT_EQ(PVKeyCodeConverter::stringForKeycode(96, PvCommandKeyMask), u"\u2318F5");
}

TEST(KeyCodeConverter, CurrentLayoutComesFromHostEnvironmentSystemOrUs)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString config = dir.filePath("keyboard"), missing = dir.filePath("none");
    ASSERT_TRUE(PavoTest::writeFile(config,
        "# KEYBOARD CONFIGURATION FILE\nXKBMODEL=\"pc105\"\nXKBLAYOUT=\"fr,us\"\nXKBVARIANT=\"bepo,\"\n"));

    EnvVar layoutVar("XKB_DEFAULT_LAYOUT", QByteArray());
    EnvVar variantVar("XKB_DEFAULT_VARIANT", QByteArray());
    ASSERT_TRUE(PvKeyboardLayout::hostLayout().isEmpty());
    using Name = PvKeyboardLayoutName;
    EXPECT_EQ(PvKeyboardLayout::resolveLayoutName(missing), (Name {"us", ""}));
    EXPECT_EQ(PvKeyboardLayout::resolveLayoutName(config), (Name {"fr", "bepo"}));
    {
        EnvVar layoutSet("XKB_DEFAULT_LAYOUT", "de,us");
        EnvVar variantSet("XKB_DEFAULT_VARIANT", "nodeadkeys");
        EXPECT_EQ(PvKeyboardLayout::resolveLayoutName(config), (Name {"de", "nodeadkeys"}));
        HostLayout host("us", "intl");
        EXPECT_EQ(PvKeyboardLayout::resolveLayoutName(config), (Name {"us", "intl"}));
        EXPECT_EQ(PVKeyCodeConverter::getKeyboardLayout()->identifier(), "us(intl)");
    }
    {
        EnvVar layoutSet("XKB_DEFAULT_LAYOUT", "de");
        EXPECT_EQ(PvKeyboardLayout::currentLayoutName(), (Name {"de", ""}));
        EXPECT_EQ(PVKeyCodeConverter::translateKeyCode(6), "Y");
    }
    // An empty environment value names nothing.
    EnvVar emptyLayout("XKB_DEFAULT_LAYOUT", "");
    EXPECT_EQ(PvKeyboardLayout::resolveLayoutName(missing), (Name {"us", ""}));

    // The system file: shell assignments, the first of a list, quotes and comments.
    EXPECT_EQ(PvKeyboardLayout::layoutNameFromConfig("XKBLAYOUT=de\nXKBVARIANT=nodeadkeys # no dead keys\n"),
        (Name {"de", "nodeadkeys"}));
    EXPECT_EQ(PvKeyboardLayout::layoutNameFromConfig("  export XKBLAYOUT='ch'  \r\nXKBVARIANT='fr'\r\n"),
        (Name {"ch", "fr"}));
    EXPECT_EQ(PvKeyboardLayout::layoutNameFromConfig("XKBLAYOUT=\" us , de\"\nXKBVARIANT=\",neo\"\n"),
        (Name {"us", ""}));
    EXPECT_TRUE(PvKeyboardLayout::layoutNameFromConfig("#XKBLAYOUT=de\nXKBVARIANT=intl\n").isEmpty());
    EXPECT_TRUE(PvKeyboardLayout::layoutNameFromConfig("XKBLAYOUT=\"\"\n").isEmpty());
    EXPECT_TRUE(PvKeyboardLayout::layoutNameFromConfig(QByteArray("\0=\0\n=de\nXKBLAYOUT", 17)).isEmpty());
    EXPECT_EQ(PvKeyboardLayout::layoutNameFromConfig("XKBLAYOUT=\"se"), (Name {"se", ""}));
}

namespace {

// The smallest key-command editor: records the last key press that makes a command.
class KeyCommandRecorder : public QWidget {
public:
    std::optional<PvKeyCommand> command;

protected:
    void keyPressEvent(QKeyEvent* event) override
    {
        if (auto recorded = PvKeyCommand::fromKeyEvent(*event))
            command = recorded;
    }
};

} // namespace

TEST(KeyCodeConverter, KeyCommandsFromQtKeyEvents)
{
    HostLayout de("de");
    const Qt::KeyboardModifiers all
        = Qt::MetaModifier | Qt::AltModifier | Qt::ShiftModifier | Qt::ControlModifier;
    // As xcb reports keys: the scan code is the evdev code plus 8 (F5 is evdev 63), and it
    // decides the key whatever Qt calls it. Modifier keys and keys no Mac keyboard has make
    // no command.
    const std::tuple<int, Qt::KeyboardModifiers, quint32, int, uint32_t> scanned[]
        = {{Qt::Key_F5, all, 63, 96, kAllFour}, {Qt::Key_1, Qt::KeypadModifier, 79, 83, PvNumericPadKeyMask},
            {Qt::Key_Shift, Qt::ShiftModifier, 42, -1, 0}, {Qt::Key_LaunchMail, {}, 155, -1, 0}};
    for (const auto& [key, modifiers, evdev, keyCode, flags] : scanned) {
        const auto command
            = PvKeyCommand::fromKeyEvent(QKeyEvent(QEvent::KeyPress, key, modifiers, evdev + 8, 0, 0));
        ASSERT_EQ(command.has_value(), keyCode >= 0) << evdev;
        if (command) {
            EXPECT_EQ(command->keyCode, keyCode);
            EXPECT_EQ(command->modifierFlags, flags);
        }
    }
    // Typed into an editor, events have no scan code: named keys, then the text under the
    // layout. Pressing Shift alone on its way to the next shortcut changes nothing.
    KeyCommandRecorder recorder;
    recorder.show();
    const std::tuple<Qt::Key, Qt::KeyboardModifiers, QString, int, const char16_t*> typed[]
        = {{Qt::Key_F5, all, {}, 96, u"\u2303\u2325\u21E7\u2318F5"},
            {Qt::Key_Shift, Qt::ShiftModifier, {}, 96, nullptr},
            {Qt::Key_PageUp, Qt::ControlModifier, {}, 116, u"\u2318\u21DE"},
            {Qt::Key_F13, {}, {}, 105, u"F13"}, {Qt::Key_Down, Qt::AltModifier, {}, 125, u"\u2325\u2193"},
            {Qt::Key_Z, Qt::ShiftModifier, "Z", 16, u"\u21E7Z"},
            {Qt::Key_ssharp, Qt::AltModifier, ch(0xDF), 27, u"\u2325\u00DF"},
            {Qt::Key_7, Qt::KeypadModifier, "7", 89, u"7"}};
    for (const auto& [key, modifiers, text, keyCode, shown] : typed) {
        SCOPED_TRACE(keyCode);
        QTest::sendKeyEvent(QTest::Click, &recorder, key, text, modifiers);
        ASSERT_TRUE(recorder.command);
        EXPECT_EQ(recorder.command->keyCode, keyCode);
        if (shown) {
            EXPECT_EQ(recorder.command->text(), QString::fromUtf16(shown));
        }
    }

    EXPECT_EQ(PvKeyCommand::qtModifiersForFlags(PvKeyCommand::modifierFlagsForQt(all | Qt::KeypadModifier)),
        all | Qt::KeypadModifier);

    // The key left of T ("Z" here) has one key code under every layout and shows what it
    // types under the layout of the moment.
    const auto z = PvKeyCommand::fromKeyEvent(
        QKeyEvent(QEvent::KeyPress, Qt::Key_Z, Qt::ControlModifier, 21 + 8, 0, 0, "\x1a"));
    ASSERT_TRUE(z);
    EXPECT_EQ(z->keyCode, 16);
    EXPECT_EQ(z->text(), u"\u2318Z");
    HostLayout us("us");
    EXPECT_EQ(z->text(), u"\u2318Y");
}

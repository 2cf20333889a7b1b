#include "TestSupport.h"
#include <Pavo/PavoUI.h>

#include <QKeyEvent>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>

#include <gtest/gtest.h>

#include <set>

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

std::shared_ptr<const PvKeyboardLayout> layout(const QString& name, const QString& variant = QString())
{
    auto result = PvKeyboardLayout::create({name, variant});
    EXPECT_NE(result, nullptr) << name.toStdString() << "(" << variant.toStdString() << ")";
    return result;
}

} // namespace

// The dictionary is made once per process from the layout current at first use, so
// this test takes "us" before anything else asks for it.
TEST(KeyCodeConverter, KeyCharDictionaryIsBuiltOnceFromTheFirstLayout)
{
    HostLayout us("us");
    bool more = true;
    EXPECT_EQ(PVKeyCodeConverter::keyCodeForKeyChar('z', &more), 6);
    EXPECT_FALSE(more);
    // "1" is typed by the main keyboard (18) and the keypad (83): the lowest wins.
    EXPECT_EQ(PVKeyCodeConverter::keyCodeForKeyChar('1', &more), 18);
    EXPECT_TRUE(more);
    EXPECT_EQ(PVKeyCodeConverter::keyCodeForKeyChar('a', &more), 0); // key code 0 is "a"
    EXPECT_FALSE(more);
    // Upper case is not typed without modifiers; nor is a character no key has.
    more = true;
    EXPECT_EQ(PVKeyCodeConverter::keyCodeForKeyChar('Z', &more), 0);
    EXPECT_FALSE(more);
    EXPECT_EQ(PVKeyCodeConverter::keyCodeForKeyChar(0x8A /* ä */, nullptr), 0);
    EXPECT_EQ(PVKeyCodeConverter::keyCodeForKeyChar('\r', nullptr), 36);

    HostLayout de("de");
    EXPECT_EQ(PVKeyCodeConverter::translateKeyCode(16), "Z"); // the layout did change ...
    EXPECT_EQ(PVKeyCodeConverter::keyCodeForKeyChar('z', nullptr), 6); // ... the dictionary did not
    EXPECT_EQ(PVKeyCodeConverter::keyCodeForKeyChar(0x8A, nullptr), 0);
}

TEST(KeyCodeConverter, ModifierSymbolsInFixedOrder)
{
    EXPECT_EQ(PVKeyCodeConverter::modifierString(PvCommandKeyMask | PvShiftKeyMask), u"\u21E7\u2318");
    EXPECT_EQ(PVKeyCodeConverter::modifierString(kAllFour | PvFunctionKeyMask), u"\u2303\u2325\u21E7\u2318");
    EXPECT_EQ(PVKeyCodeConverter::modifierString(PvAlternateKeyMask), u"\u2325");
    EXPECT_TRUE(PVKeyCodeConverter::modifierString(0).isNull());
    EXPECT_TRUE(PVKeyCodeConverter::modifierString(PvFunctionKeyMask | PvNumericPadKeyMask).isNull());
}

TEST(KeyCodeConverter, TableSearchesTakeTheFirstRowAndNeverSearchZero)
{
    using C = PVKeyCodeConverter;
    EXPECT_EQ(C::stringForKeyCodeFromTable(48), ch(0x21E5)); // first Tab row, not the back-tab glyph
    EXPECT_TRUE(C::stringForKeyCodeFromTable(1).isNull());
    EXPECT_EQ(C::stringForCharCodeFromTable(0x1B), ch(0x238B)); // Escape, never Clear
    EXPECT_TRUE(C::stringForCharCodeFromTable('a').isNull());
    EXPECT_EQ(C::stringForKeyCharFromTable(0xF716), "F19"); // the last row
    EXPECT_TRUE(C::stringForKeyCharFromTable(0xF717).isNull());
    EXPECT_EQ(C::glyphForKeycode(53), 0x1B);
    EXPECT_EQ(C::glyphForKeycode(106), 0);
    EXPECT_EQ(C::glyphForKeycode(1), 0);

    // Zero is never looked up, although no row has it anyway; the key "A" translates.
    EXPECT_EQ(C::glyphForKeycode(0), 0);
    EXPECT_TRUE(C::stringForKeyCodeFromTable(0).isNull());
    EXPECT_TRUE(C::stringForCharCodeFromTable(0).isNull());
    EXPECT_TRUE(C::stringForKeyCharFromTable(0).isNull());
    HostLayout fr("fr");
    EXPECT_EQ(C::keyCharForKeyCode(0), 'q');
    EXPECT_EQ(C::stringForKeycode(0, PvCommandKeyMask), u"\u2318Q");
}

TEST(KeyCodeConverter, ComposedTexts)
{
    HostLayout de("de");
    using C = PVKeyCodeConverter;
    EXPECT_EQ(C::stringForKeycode(96, 0), "F5");
    EXPECT_EQ(C::stringForKeycode(96, kAllFour), u"\u2303\u2325\u21E7\u2318F5");
    EXPECT_EQ(C::stringForKeycode(53, 0), ch(0x238B));
    EXPECT_EQ(C::stringForKeycode(116, PvCommandKeyMask), u"\u2318\u21DE");
    EXPECT_EQ(C::stringForKeycode(6, PvCommandKeyMask), u"\u2318Y"); // the Z position types y
    EXPECT_EQ(C::stringForKeycode(27, 0), u"\u00DF"); // sharp s stays lower case
    EXPECT_EQ(C::stringForKeycode(41, PvShiftKeyMask), u"\u21E7\u00D6");
    EXPECT_TRUE(C::stringForKeycode(63, PvCommandKeyMask).isNull()); // fn types nothing

    EXPECT_EQ(C::stringForMacRomanCharCode(0x1B, 0), ch(0x238B));
    EXPECT_EQ(C::stringForMacRomanCharCode(0x03, PvCommandKeyMask), u"\u2318\u2305");
    EXPECT_EQ(C::stringForMacRomanCharCode('a', PvCommandKeyMask), u"\u2318a");
    EXPECT_EQ(C::stringForMacRomanCharCode(0x8A, 0), u"\u00E4");
    EXPECT_EQ(C::stringForMacRomanCharCode(0, 0), QString(QChar(0)));

    EXPECT_EQ(C::humandReadableStringForKeyChar(0xF72C, PvCommandKeyMask), u"\u2318Page up");
    EXPECT_EQ(C::humandReadableStringForKeyChar(0xF704, 0), "F1");
    EXPECT_EQ(C::humandReadableStringForKeyChar(u'q', PvControlKeyMask), u"\u2303Q");
    EXPECT_EQ(C::humandReadableStringForKeyChar(0x00DF, 0), u"\u00DF");
    EXPECT_EQ(C::humandReadableStringForKeyChar(0x00E9, 0), u"\u00C9");
}

TEST(KeyCodeConverter, CharactersAndAppKitStringsOfKeys)
{
    HostLayout de("de");
    using C = PVKeyCodeConverter;
    EXPECT_EQ(C::keyCharForKeyCode(71), 0x1B); // Clear has the escape code
    EXPECT_EQ(C::keyCharForKeyCode(114), 0x05);
    EXPECT_EQ(C::keyCharForKeyCode(96), 0); // function keys have none
    EXPECT_EQ(C::keyCharForKeyCode(6), 'y');
    EXPECT_EQ(C::keyCharForKeyCode(41), 0x9A); // ö in Mac Roman
    EXPECT_EQ(C::keyCharForKeyCode(63), 0); // types nothing
    EXPECT_EQ(C::keyCharForKeyCode(200), 0); // no such key

    uint32_t flags = PvCommandKeyMask;
    EXPECT_EQ(C::appKitStringForKeycode(123, &flags), ch(0xF702));
    EXPECT_EQ(flags, PvCommandKeyMask | 0xA00000u);
    flags = 0;
    EXPECT_EQ(C::appKitStringForKeycode(117, &flags), ch(0xF728));
    EXPECT_EQ(flags, 0x800000u);
    flags = PvShiftKeyMask;
    EXPECT_EQ(C::appKitStringForKeycode(6, &flags), "y");
    EXPECT_EQ(flags, PvShiftKeyMask);
    EXPECT_EQ(C::appKitStringForKeycode(96, nullptr), ch(0xF708));
}

TEST(KeyCodeConverter, ClassicAndAppKitCodes)
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
}

TEST(KeyCodeConverter, KeyCodeTableCoversTheExtendedKeyboard)
{
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

TEST(KeyCodeConverter, LayoutsTypeDifferentCharacters)
{
    const auto us = layout("us");
    const auto de = layout("de");
    const auto fr = layout("fr");
    ASSERT_TRUE(us && de && fr);
    EXPECT_EQ(us->identifier(), "us");
    EXPECT_EQ(us->keyCodesForString("z"), QList<uint16_t> {6});
    EXPECT_EQ(de->keyCodesForString("z"), QList<uint16_t> {16});
    EXPECT_EQ(fr->keyCodesForString("z"), QList<uint16_t> {13});
    EXPECT_EQ(fr->keyCodesForString("a"), QList<uint16_t> {12});
    EXPECT_EQ(us->translate(18), "1");
    EXPECT_EQ(fr->translate(18), "&");
    EXPECT_EQ(de->translate(27), u"\u00DF");
    EXPECT_EQ(de->translate(10), "<"); // the ISO key
    EXPECT_EQ(us->translate(36), "\r");
    EXPECT_EQ(us->translate(53), "\x1b");
    EXPECT_EQ(us->translate(51), "\b");
    EXPECT_EQ(us->translate(117), "\x7f");
    // The keypad types digits, as on a keyboard without Num Lock.
    EXPECT_EQ(us->translate(83), "1");
    EXPECT_TRUE(us->translate(96).isNull()); // F5
    EXPECT_TRUE(us->translate(56).isNull()); // Shift
    EXPECT_TRUE(us->translate(52).isNull()); // no key
    EXPECT_TRUE(us->keyCodesForString(QString()).isEmpty());
    EXPECT_TRUE(us->keyCodesForString(QString(QChar(0xE4))).isEmpty());
}

TEST(KeyCodeConverter, DeadKeysAreReported)
{
    const auto us = layout("us");
    const auto intl = layout("us", "intl");
    const auto de = layout("de");
    const auto deNoDead = layout("de", "nodeadkeys");
    ASSERT_TRUE(us && intl && de && deNoDead);
    EXPECT_EQ(intl->identifier(), "us(intl)");
    bool dead = true;
    EXPECT_EQ(us->translate(39, &dead), "'");
    EXPECT_FALSE(dead);
    EXPECT_EQ(intl->translate(39, &dead), u"\u00B4");
    EXPECT_TRUE(dead);
    EXPECT_EQ(intl->translate(0, &dead), "a");
    EXPECT_FALSE(dead);
    EXPECT_EQ(de->translate(24, &dead), u"\u00B4");
    EXPECT_TRUE(dead);
    EXPECT_EQ(deNoDead->translate(24, &dead), u"\u00B4");
    EXPECT_FALSE(dead);

    HostLayout host("us", "intl");
    dead = false;
    EXPECT_EQ(PVKeyCodeConverter::translateKeyCode(39, &dead, true), u"\u00B4");
    EXPECT_TRUE(dead);
    EXPECT_EQ(PVKeyCodeConverter::translateKeyCode(12, &dead, true), "Q");
    EXPECT_FALSE(dead);
}

TEST(KeyCodeConverter, UnknownLayoutGivesNoTexts)
{
    EXPECT_EQ(PvKeyboardLayout::create({QStringLiteral("no-such-layout"), QString()}), nullptr);
    EXPECT_EQ(PvKeyboardLayout::create({}), nullptr);
    EXPECT_EQ(PvKeyboardLayout::create({QStringLiteral("us"), QStringLiteral("no-such-variant")}), nullptr);
    EXPECT_EQ(PvKeyboardLayout::create({QStringLiteral("../symbols/us"), QString()}), nullptr);
    EXPECT_EQ(PvKeyboardLayout::create({QStringLiteral("us"), QStringLiteral("intl)+de")}), nullptr);
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
    const QString config = dir.filePath("keyboard");
    QFile file(config);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("# KEYBOARD CONFIGURATION FILE\n"
               "XKBMODEL=\"pc105\"\n"
               "XKBLAYOUT=\"fr,us\"\n"
               "XKBVARIANT=\"bepo,\"\n"
               "XKBOPTIONS=\"\"\n"
               "BACKSPACE=\"guess\"\n");
    file.close();
    const QString missing = dir.filePath("none");

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
        EXPECT_EQ(PvKeyboardLayout::hostLayout(), (Name {"us", "intl"}));
        EXPECT_EQ(PvKeyboardLayout::resolveLayoutName(config), (Name {"us", "intl"}));
        EXPECT_EQ(PvKeyboardLayout::currentLayoutName(), (Name {"us", "intl"}));
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
}

TEST(KeyCodeConverter, KeyboardConfigParsing)
{
    using Name = PvKeyboardLayoutName;
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

TEST(KeyCodeConverter, KeyCommandsFromQtKeyEvents)
{
    HostLayout de("de");
    const Qt::KeyboardModifiers all
        = Qt::MetaModifier | Qt::AltModifier | Qt::ShiftModifier | Qt::ControlModifier;
    // As xcb reports it: F5 is evdev 63, so its scan code is 71.
    QKeyEvent f5(QEvent::KeyPress, Qt::Key_F5, all, 63 + 8, 0, 0);
    auto command = PvKeyCommand::fromKeyEvent(f5);
    ASSERT_TRUE(command);
    EXPECT_EQ(command->keyCode, 96);
    EXPECT_EQ(command->modifierFlags, kAllFour);
    EXPECT_EQ(command->text(), u"\u2303\u2325\u21E7\u2318F5");

    // The key left of T: "Z" on a German keyboard, the same key code under every layout.
    QKeyEvent z(QEvent::KeyPress, Qt::Key_Z, Qt::ControlModifier, 21 + 8, 0, 0, "\x1a");
    command = PvKeyCommand::fromKeyEvent(z);
    ASSERT_TRUE(command);
    EXPECT_EQ(command->keyCode, 16);
    EXPECT_EQ(command->text(), u"\u2318Z");
    {
        HostLayout us("us");
        EXPECT_EQ(command->text(), u"\u2318Y");
    }

    QKeyEvent keypad(QEvent::KeyPress, Qt::Key_1, Qt::KeypadModifier, 79 + 8, 0, 0, "1");
    command = PvKeyCommand::fromKeyEvent(keypad);
    ASSERT_TRUE(command);
    EXPECT_EQ(command->keyCode, 83);
    EXPECT_EQ(command->modifierFlags, PvNumericPadKeyMask);

    // Synthesised events have no scan code: named keys, then the text under the layout.
    const struct {
        int key;
        Qt::KeyboardModifiers modifiers;
        QString text;
        int keyCode;
        const char16_t* command;
    } synthesised[] = {{Qt::Key_PageUp, Qt::ControlModifier, {}, 116, u"\u2318\u21DE"},
        {Qt::Key_F13, Qt::NoModifier, {}, 105, u"F13"}, {Qt::Key_Z, Qt::ShiftModifier, "Z", 16, u"\u21E7Z"},
        {0xDF, Qt::AltModifier, QString(QChar(0xDF)), 27, u"\u2325\u00DF"},
        {Qt::Key_7, Qt::KeypadModifier, "7", 89, u"7"}};
    for (const auto& c : synthesised) {
        QKeyEvent event(QEvent::KeyPress, c.key, c.modifiers, c.text);
        command = PvKeyCommand::fromKeyEvent(event);
        ASSERT_TRUE(command) << c.keyCode;
        EXPECT_EQ(command->keyCode, c.keyCode);
        EXPECT_EQ(command->text(), QString::fromUtf16(c.command)) << c.keyCode;
    }

    // Modifier keys alone, and keys no Mac keyboard has, make no command.
    QKeyEvent shift(QEvent::KeyPress, Qt::Key_Shift, Qt::ShiftModifier, 42 + 8, 0, 0);
    EXPECT_FALSE(PvKeyCommand::fromKeyEvent(shift));
    QKeyEvent unknown(QEvent::KeyPress, Qt::Key_LaunchMail, Qt::NoModifier, 155 + 8, 0, 0);
    EXPECT_FALSE(PvKeyCommand::fromKeyEvent(unknown));

    EXPECT_EQ(PvKeyCommand::qtModifiersForFlags(PvKeyCommand::modifierFlagsForQt(all | Qt::KeypadModifier)),
        all | Qt::KeypadModifier);
}

namespace {

// The smallest key-command editor: records the last key press and shows it.
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

TEST(KeyCodeConverter, EditorRecordsTypedShortcuts)
{
    HostLayout us("us");
    KeyCommandRecorder recorder;
    recorder.show();
    QTest::keyClick(
        &recorder, Qt::Key_F5, Qt::MetaModifier | Qt::AltModifier | Qt::ShiftModifier | Qt::ControlModifier);
    ASSERT_TRUE(recorder.command);
    EXPECT_EQ(recorder.command->text(), u"\u2303\u2325\u21E7\u2318F5");
    // Pressing Shift on its way to the next shortcut does not replace the recorded one.
    QTest::keyClick(&recorder, Qt::Key_Shift, Qt::ShiftModifier);
    EXPECT_EQ(recorder.command->keyCode, 96);
    QTest::keyClick(&recorder, Qt::Key_Z, Qt::ControlModifier);
    ASSERT_TRUE(recorder.command);
    EXPECT_EQ(recorder.command->keyCode, 6);
    EXPECT_EQ(recorder.command->text(), u"\u2318Z");
    QTest::keyClick(&recorder, Qt::Key_Down, Qt::AltModifier);
    EXPECT_EQ(recorder.command->text(), u"\u2325\u2193");
}

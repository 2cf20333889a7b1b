#include "PVKeyCodeConverter.h"

#include "MacRoman.h"

namespace {

static_assert(sizeof(kGlyphTable) / sizeof(kGlyphTable[0]) == 37);

// The composed text of a key command: the modifier symbols, when there are any, in
// front of a text that exists.
QString withModifiers(uint32_t flags, const QString& text)
{
    const QString modifiers = PVKeyCodeConverter::modifierString(flags);
    if (modifiers.isNull() || text.isNull())
        return text;
    return modifiers + text;
}

// Upper case, except where Unicode turns one character into "SS": key caps show "ß".
QString upperUnlessSharpS(const QString& text)
{
    const QString upper = text.toUpper();
    return upper == QLatin1String("SS") ? text : upper;
}

// The text a table row shows: its glyph character, else its name.
QString rowText(const PvKeyGlyph& row)
{
    if (row.glyphChar != 0)
        return QString(QChar(row.glyphChar));
    return QString::fromLatin1(row.name);
}

template <typename Field> const PvKeyGlyph* findRow(Field field, uint16_t value)
{
    for (const PvKeyGlyph& row : kGlyphTable) {
        if (row.*field == value)
            return &row;
    }
    return nullptr;
}

// One unit for one byte: PvStringFromMacRoman decodes every byte, 0 included.
QString macRomanString(unsigned char code)
{
    const char byte = static_cast<char>(code);
    return PvStringFromMacRoman(&byte, 1);
}

} // namespace

QHash<QString, QList<uint16_t>>* PVKeyCodeConverter::s_keyCharToKeyCodeLUT = nullptr;

QString PVKeyCodeConverter::modifierString(uint32_t flags)
{
    QString text;
    if (flags & PvControlKeyMask)
        text += QChar(0x2303);
    if (flags & PvAlternateKeyMask)
        text += QChar(0x2325);
    if (flags & PvShiftKeyMask)
        text += QChar(0x21E7);
    if (flags & PvCommandKeyMask)
        text += QChar(0x2318);
    return text.isEmpty() ? QString() : text;
}

QString PVKeyCodeConverter::stringForKeyCharFromTable(uint16_t appKitChar)
{
    if (appKitChar == 0)
        return QString();
    const PvKeyGlyph* row = findRow(&PvKeyGlyph::appKitChar, appKitChar);
    return row ? QString::fromLatin1(row->name) : QString();
}

QString PVKeyCodeConverter::stringForKeyCodeFromTable(uint16_t keyCode)
{
    if (keyCode == 0)
        return QString();
    const PvKeyGlyph* row = findRow(&PvKeyGlyph::keyCode, keyCode);
    return row ? rowText(*row) : QString();
}

QString PVKeyCodeConverter::stringForCharCodeFromTable(uint16_t macRomanCode)
{
    if (macRomanCode == 0)
        return QString();
    const PvKeyGlyph* row = findRow(&PvKeyGlyph::macRomanCode, macRomanCode);
    return row ? rowText(*row) : QString();
}

std::shared_ptr<const PvKeyboardLayout> PVKeyCodeConverter::getKeyboardLayout()
{
    return PvKeyboardLayout::current();
}

QString PVKeyCodeConverter::translateKeyCode(uint16_t keyCode, bool* isDeadKey, bool upper)
{
    if (isDeadKey)
        *isDeadKey = false;
    const std::shared_ptr<const PvKeyboardLayout> layout = getKeyboardLayout();
    if (!layout)
        return QString();
    QString text = layout->translate(keyCode, isDeadKey);
    if (upper && !text.isEmpty())
        text = upperUnlessSharpS(text);
    return text;
}

QString PVKeyCodeConverter::translateKeyCode(uint16_t keyCode)
{
    return translateKeyCode(keyCode, nullptr, true);
}

void PVKeyCodeConverter::generateKeyCharToKeyCodeLUT()
{
    if (s_keyCharToKeyCodeLUT)
        return;
    auto* lut = new QHash<QString, QList<uint16_t>>;
    for (uint16_t keyCode = 0; keyCode <= 128; ++keyCode) {
        const QString text = translateKeyCode(keyCode, nullptr, false);
        // A dictionary entry needs a key: keys that type nothing are not recorded.
        if (!text.isEmpty())
            (*lut)[text].append(keyCode);
    }
    s_keyCharToKeyCodeLUT = lut;
}

unsigned char PVKeyCodeConverter::keyCharForKeyCode(uint16_t keyCode)
{
    if (const PvKeyGlyph* row = findRow(&PvKeyGlyph::keyCode, keyCode))
        return static_cast<unsigned char>(row->macRomanCode);
    const QByteArray bytes = PvMacRomanFromString(translateKeyCode(keyCode, nullptr, false));
    return bytes.isEmpty() ? 0 : static_cast<unsigned char>(bytes.front());
}

uint16_t PVKeyCodeConverter::keyCodeForKeyChar(unsigned char macRomanChar, bool* more)
{
    if (more)
        *more = false;
    generateKeyCharToKeyCodeLUT();
    const auto found = s_keyCharToKeyCodeLUT->constFind(macRomanString(macRomanChar));
    if (found == s_keyCharToKeyCodeLUT->constEnd() || found->isEmpty())
        return 0;
    if (more)
        *more = found->size() > 1;
    return found->front();
}

uint16_t PVKeyCodeConverter::glyphForKeycode(uint16_t keyCode)
{
    if (keyCode == 0)
        return 0;
    const PvKeyGlyph* row = findRow(&PvKeyGlyph::keyCode, keyCode);
    return row ? row->glyph : 0;
}

QString PVKeyCodeConverter::appKitStringForKeycode(uint16_t keyCode, uint32_t* flags)
{
    if (const PvKeyGlyph* row = findRow(&PvKeyGlyph::keyCode, keyCode)) {
        if (flags)
            *flags |= row->modifierFlags;
        return QString(QChar(row->appKitChar));
    }
    return translateKeyCode(keyCode, nullptr, false);
}

QString PVKeyCodeConverter::stringForKeycode(uint16_t keyCode, uint32_t flags)
{
    QString text = stringForKeyCodeFromTable(keyCode);
    if (text.isNull())
        text = translateKeyCode(keyCode);
    return withModifiers(flags, text);
}

QString PVKeyCodeConverter::stringForMacRomanCharCode(unsigned char code, uint32_t flags)
{
    QString text = stringForCharCodeFromTable(code);
    if (text.isNull())
        text = macRomanString(code);
    return withModifiers(flags, text);
}

QString PVKeyCodeConverter::humandReadableStringForKeyChar(uint16_t appKitChar, uint32_t flags)
{
    QString text = stringForKeyCharFromTable(appKitChar);
    if (text.isNull())
        text = upperUnlessSharpS(QString(QChar(appKitChar)));
    return withModifiers(flags, text);
}

namespace {

struct ClassicToAppKit {
    unsigned classic;
    unsigned appKit;
};

// Keys whose classic character code and AppKit character differ.
constexpr ClassicToAppKit kClassicToAppKit[] = {
    {1, 0xF729}, // home
    {4, 0xF72B}, // end
    {5, 0xF746}, // help
    {11, 0xF72C}, // page up
    {12, 0xF72D}, // page down
    {27, 0xF739}, // clear: the classic model gives escape the same code
    {28, 0xF702}, // left
    {29, 0xF703}, // right
    {30, 0xF700}, // up
    {31, 0xF701}, // down
    {127, 0xF728}, // forward delete
};

// AppKit's F1 to F35; the classic model reports them all as one function-key code.
constexpr unsigned kAppKitF1 = 0xF704;
constexpr unsigned kAppKitF35 = 0xF726;
constexpr unsigned kClassicFunctionKey = 16;

} // namespace

extern "C" unsigned MacRomanCharacterCode2AppKitCode(unsigned code)
{
    for (const ClassicToAppKit& entry : kClassicToAppKit) {
        if (entry.classic == code)
            return entry.appKit;
    }
    return code;
}

extern "C" unsigned AppKitFunctionKey2MacRomanCharCode(unsigned appKitChar)
{
    for (const ClassicToAppKit& entry : kClassicToAppKit) {
        if (entry.appKit == appKitChar)
            return entry.classic;
    }
    if (appKitChar >= kAppKitF1 && appKitChar <= kAppKitF35)
        return kClassicFunctionKey;
    return 0;
}

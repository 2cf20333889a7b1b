#include "PvKeyboardLayout.h"

#include <QFile>
#include <QtGlobal>

#include <xkbcommon/xkbcommon.h>

#include <array>
#include <cstring>

namespace {

// Evdev key code of each Mac virtual key code, by key position (0 = no such key).
// Numbers are those of linux/input-event-codes.h.
constexpr std::array<uint16_t, 128> kMacToEvdev = {
    30, //   0 A
    31, //   1 S
    32, //   2 D
    33, //   3 F
    35, //   4 H
    34, //   5 G
    44, //   6 Z
    45, //   7 X
    46, //   8 C
    47, //   9 V
    86, //  10 ISO section: the extra key of ISO keyboards (KEY_102ND)
    48, //  11 B
    16, //  12 Q
    17, //  13 W
    18, //  14 E
    19, //  15 R
    21, //  16 Y
    20, //  17 T
    2, //  18 1
    3, //  19 2
    4, //  20 3
    5, //  21 4
    7, //  22 6
    6, //  23 5
    13, //  24 =
    10, //  25 9
    8, //  26 7
    12, //  27 -
    9, //  28 8
    11, //  29 0
    27, //  30 ]
    24, //  31 O
    22, //  32 U
    26, //  33 [
    23, //  34 I
    25, //  35 P
    28, //  36 Return
    38, //  37 L
    36, //  38 J
    40, //  39 '
    37, //  40 K
    39, //  41 ;
    43, //  42 backslash
    51, //  43 ,
    53, //  44 /
    49, //  45 N
    50, //  46 M
    52, //  47 .
    15, //  48 Tab
    57, //  49 Space
    41, //  50 ` (grave)
    14, //  51 Delete (backspace)
    0, //  52
    1, //  53 Escape
    126, //  54 right Command
    125, //  55 Command
    42, //  56 Shift
    58, //  57 Caps Lock
    56, //  58 Option
    29, //  59 Control
    54, //  60 right Shift
    100, //  61 right Option
    97, //  62 right Control
    464, //  63 fn (KEY_FN)
    187, //  64 F17
    83, //  65 keypad .
    0, //  66
    55, //  67 keypad *
    0, //  68
    78, //  69 keypad +
    0, //  70
    69, //  71 keypad Clear, where PC keyboards have Num Lock
    115, //  72 volume up
    114, //  73 volume down
    113, //  74 mute
    98, //  75 keypad /
    96, //  76 keypad Enter
    0, //  77
    74, //  78 keypad -
    188, //  79 F18
    189, //  80 F19
    117, //  81 keypad =
    82, //  82 keypad 0
    79, //  83 keypad 1
    80, //  84 keypad 2
    81, //  85 keypad 3
    75, //  86 keypad 4
    76, //  87 keypad 5
    77, //  88 keypad 6
    71, //  89 keypad 7
    190, //  90 F20
    72, //  91 keypad 8
    73, //  92 keypad 9
    124, //  93 JIS yen
    89, //  94 JIS underscore (KEY_RO)
    95, //  95 JIS keypad comma
    63, //  96 F5
    64, //  97 F6
    65, //  98 F7
    61, //  99 F3
    66, // 100 F8
    67, // 101 F9
    123, // 102 JIS Eisu (KEY_HANJA, the second language key)
    87, // 103 F11
    122, // 104 JIS Kana (KEY_HANGEUL, the first language key)
    183, // 105 F13
    186, // 106 F16
    184, // 107 F14
    0, // 108
    68, // 109 F10
    127, // 110 context menu (KEY_COMPOSE)
    88, // 111 F12
    0, // 112
    185, // 113 F15
    110, // 114 Help, where PC keyboards have Insert
    102, // 115 Home
    104, // 116 Page up
    111, // 117 forward Delete
    62, // 118 F4
    107, // 119 End
    60, // 120 F2
    109, // 121 Page down
    59, // 122 F1
    105, // 123 Left
    106, // 124 Right
    108, // 125 Down
    103, // 126 Up
    0, // 127
};

// PC keys without a Mac key of their own, taken as the keys in their place.
struct EvdevAlias {
    uint16_t evdev;
    uint16_t mac;
};
constexpr EvdevAlias kEvdevAliases[] = {
    {99, 105}, // Print (KEY_SYSRQ) -> F13
    {70, 107}, // Scroll Lock -> F14
    {119, 113}, // Pause -> F15
};

// Evdev codes are offset by 8 in XKB (and in the X server), a legacy of X11 reserving
// key codes below 8.
constexpr xkb_keycode_t kXkbKeycodeOffset = 8;

// The character a dead key shows by itself: its spacing accent where Unicode has one,
// else the combining mark.
struct DeadKeyCharacter {
    xkb_keysym_t keysym;
    char16_t character;
};
constexpr DeadKeyCharacter kDeadKeyCharacters[] = {
    {XKB_KEY_dead_grave, u'`'},
    {XKB_KEY_dead_acute, u'\u00B4'},
    {XKB_KEY_dead_circumflex, u'^'},
    {XKB_KEY_dead_tilde, u'~'},
    {XKB_KEY_dead_macron, u'\u00AF'},
    {XKB_KEY_dead_breve, u'\u02D8'},
    {XKB_KEY_dead_abovedot, u'\u02D9'},
    {XKB_KEY_dead_diaeresis, u'\u00A8'},
    {XKB_KEY_dead_abovering, u'\u02DA'},
    {XKB_KEY_dead_doubleacute, u'\u02DD'},
    {XKB_KEY_dead_caron, u'\u02C7'},
    {XKB_KEY_dead_cedilla, u'\u00B8'},
    {XKB_KEY_dead_ogonek, u'\u02DB'},
    {XKB_KEY_dead_iota, u'\u037A'},
    {XKB_KEY_dead_voiced_sound, u'\u309B'},
    {XKB_KEY_dead_semivoiced_sound, u'\u309C'},
    {XKB_KEY_dead_belowdot, u'\u0323'},
    {XKB_KEY_dead_hook, u'\u0309'},
    {XKB_KEY_dead_horn, u'\u031B'},
    {XKB_KEY_dead_stroke, u'/'},
    {XKB_KEY_dead_abovecomma, u'\u0313'},
    {XKB_KEY_dead_abovereversedcomma, u'\u0314'},
    {XKB_KEY_dead_doublegrave, u'\u030F'},
    {XKB_KEY_dead_belowring, u'\u0325'},
    {XKB_KEY_dead_belowmacron, u'\u0331'},
    {XKB_KEY_dead_belowcircumflex, u'\u032D'},
    {XKB_KEY_dead_belowtilde, u'\u0330'},
    {XKB_KEY_dead_belowbreve, u'\u032E'},
    {XKB_KEY_dead_belowdiaeresis, u'\u0324'},
    {XKB_KEY_dead_invertedbreve, u'\u0311'},
    {XKB_KEY_dead_belowcomma, u'\u0326'},
    {XKB_KEY_dead_currency, u'\u00A4'},
    {XKB_KEY_dead_greek, u'\u00B5'},
};

bool isDeadKeysym(xkb_keysym_t keysym)
{
    char name[64];
    return xkb_keysym_get_name(keysym, name, sizeof name) > 0 && std::strncmp(name, "dead_", 5) == 0;
}

// The first entry of a comma-separated XKB list ("de,us" -> "de"), trimmed.
QString firstOfList(const QString& list)
{
    return list.section(QLatin1Char(','), 0, 0).trimmed();
}

// XKB names layouts and variants with letters, digits, '_' and '-'; anything else (a
// path, an include expression) is refused before it reaches the rules.
bool isPlainXkbName(const QString& name)
{
    for (const QChar c : name) {
        if (!(c.isLetterOrNumber() && c.unicode() < 0x80) && c != QLatin1Char('_') && c != QLatin1Char('-'))
            return false;
    }
    return true;
}

PvKeyboardLayoutName nameFromLists(const QString& layouts, const QString& variants)
{
    PvKeyboardLayoutName name {firstOfList(layouts), firstOfList(variants)};
    if (name.layout.isEmpty())
        return {};
    return name;
}

// The layout the host chose, and the layout current() compiled last (with its name, so
// that a name that fails to compile is not compiled again on every call).
PvKeyboardLayoutName& hostLayoutStorage()
{
    static PvKeyboardLayoutName name;
    return name;
}

struct CurrentCache {
    bool filled = false;
    PvKeyboardLayoutName name;
    std::shared_ptr<const PvKeyboardLayout> layout;
};

CurrentCache& currentCache()
{
    static CurrentCache cache;
    return cache;
}

} // namespace

QString PvKeyboardLayoutName::identifier() const
{
    if (variant.isEmpty())
        return layout;
    return layout + QLatin1Char('(') + variant + QLatin1Char(')');
}

struct PvKeyboardLayout::Private {
    xkb_context* context = nullptr;
    xkb_keymap* keymap = nullptr;
    xkb_state* state = nullptr;

    ~Private()
    {
        xkb_state_unref(state);
        xkb_keymap_unref(keymap);
        xkb_context_unref(context);
    }
};

PvKeyboardLayout::PvKeyboardLayout(std::unique_ptr<Private> p)
    : d(std::move(p))
{
}

PvKeyboardLayout::~PvKeyboardLayout() = default;

std::shared_ptr<const PvKeyboardLayout> PvKeyboardLayout::create(const PvKeyboardLayoutName& name)
{
    if (name.isEmpty() || !isPlainXkbName(name.layout) || !isPlainXkbName(name.variant))
        return nullptr;
    auto p = std::make_unique<Private>();
    // The names are given in full, so XKB must not fill gaps from XKB_DEFAULT_*.
    p->context = xkb_context_new(XKB_CONTEXT_NO_ENVIRONMENT_NAMES);
    if (!p->context)
        return nullptr;
    xkb_context_set_log_level(p->context, XKB_LOG_LEVEL_CRITICAL);
    const QByteArray layout = name.layout.toUtf8();
    const QByteArray variant = name.variant.toUtf8();
    xkb_rule_names names {};
    names.rules = "evdev";
    names.model = "pc105";
    names.layout = layout.constData();
    names.variant = variant.constData();
    names.options = "";
    p->keymap = xkb_keymap_new_from_names(p->context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS);
    if (!p->keymap)
        return nullptr;
    if (xkb_keymap_num_layouts(p->keymap) < 1)
        return nullptr;
    p->state = xkb_state_new(p->keymap);
    if (!p->state)
        return nullptr;
    const xkb_mod_index_t numLock = xkb_keymap_mod_get_index(p->keymap, XKB_MOD_NAME_NUM);
    if (numLock != XKB_MOD_INVALID)
        xkb_state_update_mask(p->state, 0, 0, xkb_mod_mask_t(1) << numLock, 0, 0, 0);
    std::shared_ptr<PvKeyboardLayout> result(new PvKeyboardLayout(std::move(p)));
    result->m_name = name;
    return result;
}

std::shared_ptr<const PvKeyboardLayout> PvKeyboardLayout::current()
{
    const PvKeyboardLayoutName name = currentLayoutName();
    CurrentCache& cache = currentCache();
    if (!cache.filled || !(cache.name == name)) {
        cache.layout = create(name);
        cache.name = name;
        cache.filled = true;
    }
    return cache.layout;
}

void PvKeyboardLayout::setHostLayout(const PvKeyboardLayoutName& name)
{
    hostLayoutStorage() = nameFromLists(name.layout, name.variant);
}

PvKeyboardLayoutName PvKeyboardLayout::hostLayout()
{
    return hostLayoutStorage();
}

PvKeyboardLayoutName PvKeyboardLayout::currentLayoutName()
{
    return resolveLayoutName(QString::fromLatin1(kSystemKeyboardConfig));
}

PvKeyboardLayoutName PvKeyboardLayout::resolveLayoutName(const QString& systemConfigPath)
{
    if (!hostLayoutStorage().isEmpty())
        return hostLayoutStorage();
    PvKeyboardLayoutName name = nameFromLists(
        qEnvironmentVariable("XKB_DEFAULT_LAYOUT"), qEnvironmentVariable("XKB_DEFAULT_VARIANT"));
    if (!name.isEmpty())
        return name;
    QFile file(systemConfigPath);
    // The file is a few lines; anything larger is not a keyboard configuration.
    if (file.open(QIODevice::ReadOnly) && file.size() < 65536)
        name = layoutNameFromConfig(file.read(65536));
    if (!name.isEmpty())
        return name;
    return {QStringLiteral("us"), QString()};
}

PvKeyboardLayoutName PvKeyboardLayout::layoutNameFromConfig(const QByteArray& contents)
{
    QString layouts;
    QString variants;
    for (const QByteArray& rawLine : contents.split('\n')) {
        QByteArray line = rawLine.trimmed();
        if (line.startsWith("export "))
            line = line.mid(7).trimmed();
        const qsizetype eq = line.indexOf('=');
        if (line.isEmpty() || line.startsWith('#') || eq <= 0)
            continue;
        const QByteArray key = line.left(eq).trimmed();
        QByteArray value = line.mid(eq + 1).trimmed();
        if (value.size() >= 1 && (value.front() == '"' || value.front() == '\'')) {
            const char quote = value.front();
            const qsizetype end = value.indexOf(quote, 1);
            value = end < 0 ? value.mid(1) : value.mid(1, end - 1);
        } else {
            const qsizetype comment = value.indexOf('#');
            if (comment >= 0)
                value = value.left(comment).trimmed();
        }
        if (key == "XKBLAYOUT")
            layouts = QString::fromUtf8(value);
        else if (key == "XKBVARIANT")
            variants = QString::fromUtf8(value);
    }
    return nameFromLists(layouts, variants);
}

uint32_t PvKeyboardLayout::evdevKeyCode(uint16_t macKeyCode)
{
    return macKeyCode < kMacToEvdev.size() ? kMacToEvdev[macKeyCode] : 0;
}

int PvKeyboardLayout::macKeyCode(uint32_t evdevKeyCode)
{
    if (evdevKeyCode == 0)
        return -1;
    for (size_t mac = 0; mac < kMacToEvdev.size(); ++mac) {
        if (kMacToEvdev[mac] == evdevKeyCode)
            return int(mac);
    }
    for (const EvdevAlias& alias : kEvdevAliases) {
        if (alias.evdev == evdevKeyCode)
            return alias.mac;
    }
    return -1;
}

QString PvKeyboardLayout::translate(uint16_t macKeyCode, bool* isDeadKey) const
{
    if (isDeadKey)
        *isDeadKey = false;
    const uint32_t evdev = evdevKeyCode(macKeyCode);
    if (evdev == 0)
        return QString();
    const xkb_keycode_t key = evdev + kXkbKeycodeOffset;
    const xkb_keysym_t keysym = xkb_state_key_get_one_sym(d->state, key);
    if (keysym == XKB_KEY_NoSymbol)
        return QString();
    if (isDeadKeysym(keysym)) {
        if (isDeadKey)
            *isDeadKey = true;
        for (const DeadKeyCharacter& dead : kDeadKeyCharacters) {
            if (dead.keysym == keysym)
                return QString(QChar(dead.character));
        }
        return QString();
    }
    char buffer[64];
    const int length = xkb_state_key_get_utf8(d->state, key, buffer, sizeof buffer);
    if (length <= 0 || length >= int(sizeof buffer))
        return QString();
    return QString::fromUtf8(buffer, length);
}

QList<uint16_t> PvKeyboardLayout::keyCodesForString(const QString& text) const
{
    QList<uint16_t> codes;
    if (text.isEmpty())
        return codes;
    for (uint16_t mac = 0; mac < kMacToEvdev.size(); ++mac) {
        if (translate(mac) == text)
            codes.append(mac);
    }
    return codes;
}

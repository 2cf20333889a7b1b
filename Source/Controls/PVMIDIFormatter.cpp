#include "PVMIDIFormatter.h"

#include <QMetaType>

#include <cmath>
#include <limits>
#include <optional>

namespace {

// Sharps only: editors of MIDI data show C# rather than Db, whatever the key.
constexpr const char* kNoteNames[12] = {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};

// The integer value of a number held by a variant, as the platform's intValue gave it;
// nothing for anything that is not a number.
std::optional<int32_t> integerValue(const QVariant& value)
{
    if (!value.isValid() || value.isNull())
        return std::nullopt;
    switch (value.metaType().id()) {
    case QMetaType::Bool:
        return value.toBool() ? 1 : 0;
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::Short:
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
        return static_cast<int32_t>(static_cast<uint32_t>(value.toLongLong()));
    case QMetaType::UChar:
    case QMetaType::UShort:
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return static_cast<int32_t>(static_cast<uint32_t>(value.toULongLong()));
    case QMetaType::Float:
    case QMetaType::Double: {
        const double d = value.toDouble();
        if (!std::isfinite(d))
            return std::nullopt;
        if (d >= 2147483647.0)
            return std::numeric_limits<int32_t>::max();
        if (d <= -2147483648.0)
            return std::numeric_limits<int32_t>::min();
        return static_cast<int32_t>(d); // toward zero
    }
    default:
        return std::nullopt;
    }
}

} // namespace

void PVMIDIFormatter::setNoteStyle(int32_t style)
{
    if (style != _noteStyle)
        _noteStyle = style;
}

QString PVMIDIFormatter::stringForObjectValue(const QVariant& value) const
{
    const std::optional<int32_t> n = integerValue(value);
    if (!n)
        return QStringLiteral("");
    return stringForValue(*n);
}

QString PVMIDIFormatter::stringForValue(int32_t n) const
{
    switch (_noteStyle) {
    case Decimal:
        return QString::number(n);
    case Signed:
        if (n == 0)
            return QStringLiteral(u"\u00B1 0");
        if (n > 0)
            return QLatin1Char('+') + QString::number(n);
        return QString::number(n);
    case Hexadecimal: {
        // "%X" of a negative int prints its 32-bit two's complement.
        const QString digits = QString::number(static_cast<uint32_t>(n), 16).toUpper();
        if (n <= 14)
            return QStringLiteral("0x0") + digits;
        return QStringLiteral("0x") + digits.rightJustified(2, QLatin1Char(' '));
    }
    case NoteName: {
        // A negative value leaves a negative remainder that names no note: the text is
        // then the octave number alone.
        const int32_t r = n % 12;
        const QString name = r >= 0 ? QString::fromLatin1(kNoteNames[r]) : QString();
        const int64_t octave = (static_cast<int64_t>(n) - r) / 12 - 2;
        return name + QString::number(octave);
    }
    default:
        return QStringLiteral("");
    }
}

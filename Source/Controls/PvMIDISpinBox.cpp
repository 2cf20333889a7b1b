#include "PvMIDISpinBox.h"

namespace {

// Ranges are searched value by value; beyond this many values typing is refused
// rather than stalling the editor.
constexpr qint64 kMaxSearchedValues = 65536;

bool sameText(const QString& shown, const QString& typed)
{
    return shown.compare(typed, Qt::CaseInsensitive) == 0;
}

} // namespace

PvMIDISpinBox::PvMIDISpinBox(QWidget* parent)
    : QSpinBox(parent)
{
    setRange(0, 127);
}

void PvMIDISpinBox::setNoteStyle(int32_t style)
{
    if (style == m_formatter.noteStyle())
        return;
    m_formatter.setNoteStyle(style);
    // QAbstractSpinBox caches its text and size hint; setting the special-value text
    // (to what it already is) is the public call that clears both and redraws.
    setSpecialValueText(specialValueText());
}

std::optional<int> PvMIDISpinBox::valueForText(const QString& text) const
{
    const QString typed = text.trimmed();
    if (typed.isEmpty() || qint64(maximum()) - minimum() >= kMaxSearchedValues)
        return std::nullopt;
    for (qint64 v = minimum(); v <= maximum(); ++v) {
        if (sameText(m_formatter.stringForValue(int32_t(v)), typed))
            return int(v);
    }
    return std::nullopt;
}

QString PvMIDISpinBox::textFromValue(int value) const
{
    return m_formatter.stringForValue(value);
}

int PvMIDISpinBox::valueFromText(const QString& text) const
{
    return valueForText(text).value_or(value());
}

QValidator::State PvMIDISpinBox::validate(QString& input, int& pos) const
{
    Q_UNUSED(pos);
    const QString typed = input.trimmed();
    if (typed.isEmpty())
        return QValidator::Intermediate;
    if (qint64(maximum()) - minimum() >= kMaxSearchedValues)
        return QValidator::Invalid;
    bool prefix = false;
    for (qint64 v = minimum(); v <= maximum(); ++v) {
        const QString shown = m_formatter.stringForValue(int32_t(v));
        if (sameText(shown, typed))
            return QValidator::Acceptable;
        if (!prefix && shown.startsWith(typed, Qt::CaseInsensitive))
            prefix = true;
    }
    return prefix ? QValidator::Intermediate : QValidator::Invalid;
}

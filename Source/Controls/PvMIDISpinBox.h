// PvMIDISpinBox: a Qt spin box that shows its value through a PVMIDIFormatter.
#pragma once

#include "PVMIDIFormatter.h"

#include <QSpinBox>

#include <optional>

/**
    A QSpinBox for MIDI values that shows them as a PVMIDIFormatter does ("C#3",
    "0x7F", "+5", "± 0").

    The formatter does not parse text. Typed text is accepted by matching: a text is
    Acceptable when it equals the display text of a value in the box's range
    (case-insensitive, surrounding blanks ignored), Intermediate while it is the start
    of such a text, and Invalid otherwise. So "c#3" enters 61 in the note style,
    and "0x7F" enters 127 in the hexadecimal style. Ranges wider than 65536 values are
    not searched: their texts are then only stepped, never typed.

    The default range is 0 to 127 in the decimal style. Main thread only; the widget is
    owned by its Qt parent as usual.
*/
class PvMIDISpinBox : public QSpinBox {
    Q_OBJECT
public:
    /** A spin box from 0 to 127 in the decimal style. */
    explicit PvMIDISpinBox(QWidget* parent = nullptr);

    /** The display style of the formatter (0 to 3; see PVMIDIFormatter). */
    int32_t noteStyle() const { return m_formatter.noteStyle(); }

    /** Changes the display style and refreshes the shown text. */
    void setNoteStyle(int32_t style);

    /** The formatter that makes the texts. */
    const PVMIDIFormatter& formatter() const { return m_formatter; }

    /** The value in the range whose display text matches text, or std::nullopt. */
    std::optional<int> valueForText(const QString& text) const;

protected:
    QString textFromValue(int value) const override;
    int valueFromText(const QString& text) const override;
    QValidator::State validate(QString& input, int& pos) const override;

private:
    PVMIDIFormatter m_formatter;
};

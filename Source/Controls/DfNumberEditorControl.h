// DfNumberEditorControl: a musical position or a time as number fields in a row.
#pragma once

#include "PvCellGroupControl.h"

#include <algorithm>
#include <array>

/**
    A cell group of four number fields with separators between them that edits one
    value: a musical position in ticks (bars, beats, divisions and ticks, shown as
    "1.1.0.000") or a time in milliseconds (hours, minutes, seconds and milliseconds,
    shown as "00:00:00.000").

    Musical positions count bars and beats from 1 and divisions and ticks from 0; tick 0
    is the start of bar 1. A bar has beatsPerBar() beats of the time signature's beat
    unit, a beat has divisionsPerBeat() sixteenth-note divisions (at least one), and a
    division has ticksPerDivision() ticks (240 by default, so 960 per quarter note). Bars
    go up to 9999, hours to 99.

    Every field is stepped, typed into and read by assistive technology like a spin box
    (see PvNumberEditorCell and PvCellGroupControl). A step past the end of a field's
    range carries into or borrows from the fields to its left; the whole value stays
    between 0 and maximumValue(). A typed value must lie in its field's range.

    When the user changes the value the control sends its action and then emits
    valueChanged(); setValue() emits valueChanged() only. Main thread only.
*/
class DfNumberEditorControl : public PvCellGroupControl {
    Q_OBJECT
public:
    enum Style { MusicalPositionStyle = 0, TimeStyle = 1 };

    explicit DfNumberEditorControl(Style style = MusicalPositionStyle, QWidget* parent = nullptr);
    ~DfNumberEditorControl() override;

    Style style() const { return m_style; }
    /// Changes the fields to those of style; the value goes back to 0.
    void setStyle(Style style);

    /// The value: ticks from the start of bar 1, or milliseconds.
    qint64 value() const;
    /// Sets the value, clamped to 0 ... maximumValue().
    void setValue(qint64 value);
    /// The largest value: the last tick of bar 9999, or 99:59:59.999.
    qint64 maximumValue() const;

    int beatsPerBar() const { return m_beatsPerBar; }
    int beatUnit() const { return m_beatUnit; }
    /**
        Sets the time signature, for instance 6 and 8 for 6/8; beatsPerBar is kept between
        1 and 64, and beatUnit must be 1, 2, 4, 8, 16, 32 or 64 (other calls are ignored).
        The value in ticks is kept (clamped), so the position it shows may move.
    */
    void setTimeSignature(int beatsPerBar, int beatUnit);
    /// Sixteenth notes per beat: 16 / beatUnit(), at least 1.
    int divisionsPerBeat() const { return std::max(1, 16 / m_beatUnit); }
    int ticksPerDivision() const { return m_ticksPerDivision; }
    /// Sets the ticks of a division (1 to 9999); the value in ticks is kept (clamped).
    void setTicksPerDivision(int ticks);
    qint64 ticksPerBeat() const { return qint64(divisionsPerBeat()) * m_ticksPerDivision; }
    qint64 ticksPerBar() const { return ticksPerBeat() * m_beatsPerBar; }

    /// The number fields, from the largest unit (bars, hours) to the smallest.
    static constexpr int kFieldCount = 4;
    PvNumberEditorCell* fieldAt(int index) const;
    /// The value as shown, for instance "12.3.2.015" or "01:02:03.456".
    QString text() const;

    bool dfNumberEditorCellStepBy(PvNumberEditorCell* cell, int delta) override;
    /// Escape puts back the whole value from before typing, carries included.
    void dfNumberEditorCellStoppedEditingWithReason(PvNumberEditorCell* cell, int reason) override;
    void dfNumberEditorCellValueChanged(PvNumberEditorCell* cell) override;
    QString accessibilityValue() const override { return text(); }
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

signals:
    /// The value changed (by the user, or by setValue()).
    void valueChanged(qint64 value);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void build();
    void applyRanges();
    void distribute(qint64 value);
    int fieldIndex(const PvNumberEditorCell* cell) const;
    qint64 unitOf(int field) const;
    int originOf(int field) const { return m_style == MusicalPositionStyle && field < 2 ? 1 : 0; }
    void reportIfChanged();

    Style m_style;
    int m_beatsPerBar = 4;
    int m_beatUnit = 4;
    int m_ticksPerDivision = 240;
    std::array<PvNumberEditorCell*, kFieldCount> m_fields {};
    qint64 m_reported = 0;
    qint64 m_valueBeforeSteps = -1; // before the first step while typing; -1 for none
};

#include "DfNumberEditorControl.h"

#include <QResizeEvent>

#include <cmath>

namespace {

constexpr int kMaximumBar = 9999;
constexpr int kMaximumHour = 99;
constexpr qint64 kTimeUnits[DfNumberEditorControl::kFieldCount] = {3600000, 60000, 1000, 1};

int digitsOf(int value)
{
    return int(QString::number(value).size());
}

} // namespace

DfNumberEditorControl::DfNumberEditorControl(Style style, QWidget* parent)
    : PvCellGroupControl(parent)
    , m_style(style)
{
    setAlignment(Qt::AlignCenter);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    // Every change by the user goes out as the action (also a field set by assistive
    // technology, which sends the action itself); the signal follows.
    connect(this, &PvControl::actionTriggered, this, [this] { reportIfChanged(); });
    build();
}

DfNumberEditorControl::~DfNumberEditorControl() = default;

void DfNumberEditorControl::build()
{
    stopEditingAndResignFirstResponder(false);
    while (cellCount() > 0)
        removeCellAtIndex(cellCount() - 1);
    const bool musical = m_style == MusicalPositionStyle;
    const char* separators[] = {musical ? "." : ":", musical ? "." : ":", "."};
    static const char* const musicalNames[] = {"Bars", "Beats", "Divisions", "Ticks"};
    static const char* const timeNames[] = {"Hours", "Minutes", "Seconds", "Milliseconds"};
    const char* const* names = musical ? musicalNames : timeNames;
    for (int i = 0; i < kFieldCount; ++i) {
        auto field = std::make_unique<PvNumberEditorCell>(originOf(i), originOf(i), originOf(i));
        field->setAccessibilityLabel(QString::fromLatin1(names[i]));
        m_fields[size_t(i)] = field.get();
        addCell(std::move(field), QSizeF(1, height()));
        if (i < kFieldCount - 1)
            addCell(std::make_unique<PvCell>(QString::fromLatin1(separators[i])), QSizeF(1, height()));
    }
    applyRanges();
    distribute(0);
    m_reported = 0;
    recalculateCellPositionsAndSizes();
    updateGeometry();
}

void DfNumberEditorControl::applyRanges()
{
    int maxima[kFieldCount];
    if (m_style == MusicalPositionStyle) {
        maxima[0] = kMaximumBar;
        maxima[1] = m_beatsPerBar;
        maxima[2] = divisionsPerBeat() - 1;
        maxima[3] = m_ticksPerDivision - 1;
    } else {
        maxima[0] = kMaximumHour;
        maxima[1] = 59;
        maxima[2] = 59;
        maxima[3] = 999;
    }
    for (int i = 0; i < kFieldCount; ++i) {
        PvNumberEditorCell* f = m_fields[size_t(i)];
        f->setRange(originOf(i), maxima[i]);
        // Time fields and ticks keep their width with leading zeros.
        const bool padded = m_style == TimeStyle || i == kFieldCount - 1;
        f->setMinimumDigits(padded ? digitsOf(maxima[i]) : 1);
    }
}

qint64 DfNumberEditorControl::unitOf(int field) const
{
    if (m_style == TimeStyle)
        return kTimeUnits[field];
    switch (field) {
    case 0:
        return ticksPerBar();
    case 1:
        return ticksPerBeat();
    case 2:
        return m_ticksPerDivision;
    default:
        return 1;
    }
}

qint64 DfNumberEditorControl::maximumValue() const
{
    return m_style == TimeStyle ? (kMaximumHour + 1) * kTimeUnits[0] - 1 : kMaximumBar * ticksPerBar() - 1;
}

qint64 DfNumberEditorControl::value() const
{
    qint64 v = 0;
    for (int i = 0; i < kFieldCount; ++i)
        v += (m_fields[size_t(i)]->value() - originOf(i)) * unitOf(i);
    return v;
}

void DfNumberEditorControl::distribute(qint64 value)
{
    holdCellUpdates();
    for (int i = 0; i < kFieldCount; ++i) {
        const qint64 unit = unitOf(i);
        m_fields[size_t(i)]->setValue(int(value / unit) + originOf(i));
        value %= unit;
    }
    releaseCellUpdates();
}

void DfNumberEditorControl::reportIfChanged()
{
    const qint64 v = value();
    if (v != m_reported) {
        m_reported = v;
        emit valueChanged(v);
    }
}

void DfNumberEditorControl::setValue(qint64 value)
{
    distribute(std::clamp<qint64>(value, 0, maximumValue()));
    reportIfChanged();
}

void DfNumberEditorControl::setStyle(Style style)
{
    if (style == m_style)
        return;
    const qint64 before = value();
    m_style = style;
    build();
    if (before != 0)
        emit valueChanged(0);
}

void DfNumberEditorControl::setTimeSignature(int beatsPerBar, int beatUnit)
{
    const bool powerOfTwo = beatUnit >= 1 && beatUnit <= 64 && (beatUnit & (beatUnit - 1)) == 0;
    if (!powerOfTwo)
        return;
    const qint64 v = value();
    m_beatsPerBar = std::clamp(beatsPerBar, 1, 64);
    m_beatUnit = beatUnit;
    applyRanges();
    setValue(v);
    recalculateCellPositionsAndSizes();
    updateGeometry();
}

void DfNumberEditorControl::setTicksPerDivision(int ticks)
{
    const qint64 v = value();
    m_ticksPerDivision = std::clamp(ticks, 1, 9999);
    applyRanges();
    setValue(v);
    recalculateCellPositionsAndSizes();
    updateGeometry();
}

PvNumberEditorCell* DfNumberEditorControl::fieldAt(int index) const
{
    return index >= 0 && index < kFieldCount ? m_fields[size_t(index)] : nullptr;
}

int DfNumberEditorControl::fieldIndex(const PvNumberEditorCell* cell) const
{
    for (int i = 0; i < kFieldCount; ++i)
        if (m_fields[size_t(i)] == cell)
            return i;
    return -1;
}

QString DfNumberEditorControl::text() const
{
    QString s;
    for (int i = 0; i < cellCount(); ++i) {
        const PvCell* c = cellAtIndex(i);
        const auto* n = dynamic_cast<const PvNumberEditorCell*>(c);
        s += n ? n->textForValue(n->value()) : c->stringValue();
    }
    return s;
}

bool DfNumberEditorControl::dfNumberEditorCellStepBy(PvNumberEditorCell* cell, int delta)
{
    const int i = fieldIndex(cell);
    if (i < 0)
        return false;
    // A step in the whole value: past a field's end it carries into (or borrows from)
    // the fields on its left.
    const qint64 before = value();
    if (cell->isEditing() && m_valueBeforeSteps < 0)
        m_valueBeforeSteps = before;
    const qint64 after = std::clamp<qint64>(before + qint64(delta) * unitOf(i), 0, maximumValue());
    if (after != before) {
        distribute(after);
        sendAction();
    }
    return true;
}

void DfNumberEditorControl::dfNumberEditorCellStoppedEditingWithReason(PvNumberEditorCell* cell, int reason)
{
    const qint64 before = m_valueBeforeSteps;
    m_valueBeforeSteps = -1;
    // The cell has put back its own field; the steps may have carried into others.
    if (reason == PvNumberEditorCell::EscapeStop && before >= 0 && before != value()) {
        distribute(before);
        sendAction();
    }
    PvCellGroupControl::dfNumberEditorCellStoppedEditingWithReason(cell, reason);
}

void DfNumberEditorControl::dfNumberEditorCellValueChanged(PvNumberEditorCell* cell)
{
    if (fieldIndex(cell) >= 0)
        sendAction();
    else
        PvCellGroupControl::dfNumberEditorCellValueChanged(cell);
}

QSize DfNumberEditorControl::sizeHint() const
{
    qreal w = 0;
    qreal h = 0;
    for (int i = 0; i < cellCount(); ++i) {
        const QSizeF s = cellAtIndex(i)->cellSize();
        w += s.width();
        h = std::max(h, s.height());
    }
    return QSize(int(std::ceil(w)), int(std::ceil(h)) + 4);
}

void DfNumberEditorControl::resizeEvent(QResizeEvent* event)
{
    PvCellGroupControl::resizeEvent(event);
    recalculateCellPositionsAndSizes();
}

void DfNumberEditorControl::changeEvent(QEvent* event)
{
    PvCellGroupControl::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        // The fields' widths follow the font.
        recalculateCellPositionsAndSizes();
        updateGeometry();
    }
}

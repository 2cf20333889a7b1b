// A view whose text is asked from an object each time it is shown.
#pragma once

#include <QWidget>

/**
    Supplies the text of a PvDynamicStringView (the shared tool tip) at display time.
    A slider cell, for example, answers its current value. A source that is destroyed
    while its tip is shown closes the tip first.
*/
class PvToolTipStringSource {
public:
    virtual ~PvToolTipStringSource();
    /// The text for tag; may be empty.
    virtual QString stringForTag(int tag) const = 0;
};

/**
    Draws the text that its object answers for its tag, in the shared tool-tip font and
    colours, with a 2-point margin on every side. The object is not owned.
    Main thread only.
*/
class PvDynamicStringView : public QWidget {
    Q_OBJECT
public:
    explicit PvDynamicStringView(QWidget* parent = nullptr);

    PvToolTipStringSource* object() const { return m_Object; }
    int tag() const { return m_Tag; }
    void setObject(PvToolTipStringSource* object, int tag);
    /// The text the object answers now; empty without an object.
    QString currentString() const;
    /// The size for text: width = max(text width, 4) + 2 + 2, height = text height + 2 + 2,
    /// rounded up to whole points. Empty text measures 8 x 4.
    static QSize sizeForString(const QString& text);
    /// The shared tool-tip font.
    static QFont toolTipFont();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    PvToolTipStringSource* m_Object = nullptr;
    int m_Tag = 0;
};

// The one tool-tip window shared by the whole process.
#pragma once

#include "PvDynamicStringView.h"

#include <QPointer>
#include <QWidget>

/**
    A small window that shows a text next to a point of a view: the tool tip that follows
    a slider knob while it is dragged. There is one shared window (created on first use);
    the class functions show, move and close it.

    The text is asked from an object (PvToolTipStringSource) each time the tip is drawn,
    so it follows a changing value. Placement: the tip's top-left corner is at the position
    (a point in the view's window, Qt coordinates) moved 21 points down, truncated to whole
    points; its size is that of PvDynamicStringView::sizeForString(). While shown, the tip
    is attached to the view's window and the Qt tool tips of that window (a PvWindow) are
    off; it never takes the mouse or the focus. When that window hides, the tip hides too.

    Main thread only.
*/
class PvToolTipWindow : public QWidget {
    Q_OBJECT
public:
    /// The distance in points from the position down to the top of the tip.
    static constexpr int kVerticalOffset = 21;

    /// The shared window; created on first use, never null.
    static PvToolTipWindow* sharedToolTipWindow();
    /// The shared window if it exists, else null (asking does not create it).
    static PvToolTipWindow* existingToolTipWindow();

    /// Shows the tip for view with the text of object and tag at position (in view's
    /// window). A null view or object hides the tip instead.
    static void showToolTipWindowForView(
        QWidget* view, PvToolTipStringSource* object, int tag, const QPointF& position);
    /// Moves the shared tip to position (in view's window) and re-measures its text.
    static void setToolTipPosition(const QPointF& position, QWidget* view);
    /// The same, for a position in view's own coordinates (as tracking points are).
    static void updateToolTipPosition(const QPointF& pointInView, QWidget* view);
    static void closeToolTipWindow();
    /// Closes the tip only when it shows object's text.
    static void closeToolTipWindowIfCurrentlyMine(const PvToolTipStringSource* object);

    void showInView(QWidget* view);
    void showInView(QWidget* view, const QPointF& position);
    void setPosition(const QPointF& position, QWidget* view);
    /// Places the tip at the mouse's current position over view's window.
    void updateAtMousePositionForView(QWidget* view);
    /// Detaches the tip from its window, switches that window's tool tips back on, closes.
    void hide();

    PvDynamicStringView* stringView() const { return m_stringView; }
    /// The window the tip is attached to; null while hidden.
    QWidget* attachedWindow() const { return m_parentWindow; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    PvToolTipWindow();
    void place(const QPointF& position, QWidget* window);

    PvDynamicStringView* m_stringView;
    QPointer<QWidget> m_parentWindow;
};

// Buttons that choose the page of a sliding side panel.
#pragma once

#include "PVAnimatedSlideView.h"

#include <QAbstractButton>
#include <QList>
#include <QPointer>
#include <QTabWidget>

#include <optional>
#include <utility>

/// Posted (when idle) for each press of one of a tab controller's buttons; the object is
/// the controller, the user info key "SENDER" holds the button (a QObject*).
inline const QString PvSelectButtonPressedAsyncNotification
    = QStringLiteral("PvSelectButtonPressedAsyncNotification");

class PvSlideViewTabController;

/// What a tab controller asks and tells. Every message is optional.
class PvSlideViewTabControllerDelegate {
public:
    virtual ~PvSlideViewTabControllerDelegate() = default;
    virtual void slideViewTabControllerWillSelectTabViewItem(
        PvSlideViewTabController* controller, QWidget* item, int index, QTabWidget* tabView)
    {
        (void)controller, (void)item, (void)index, (void)tabView;
    }
    virtual void slideViewTabControllerDidSelectTabViewItem(
        PvSlideViewTabController* controller, QWidget* item, int index, QTabWidget* tabView)
    {
        (void)controller, (void)item, (void)index, (void)tabView;
    }
    /// The button tag and tab index of a model ID; by default tag = ID, index = ID - 1.
    virtual std::optional<std::pair<int, int>> slideViewTabControllerMapModelID(
        PvSlideViewTabController* controller, int modelID)
    {
        (void)controller, (void)modelID;
        return std::nullopt;
    }
    /// The model ID of a button tag; by default the tag.
    virtual std::optional<int> slideViewTabControllerMapButtonTagToModelID(
        PvSlideViewTabController* controller, int tag)
    {
        (void)controller, (void)tag;
        return std::nullopt;
    }
    /// Whether a press of button is ignored; by default none is.
    virtual bool slideViewTabControllerIgnoreButtonPressed(
        PvSlideViewTabController* controller, QAbstractButton* button)
    {
        (void)controller, (void)button;
        return false;
    }
    /// Return true to handle a press that changes the model ID from one to another
    /// yourself (for example by calling setModelID()); false lets the controller do it.
    virtual bool slideViewTabControllerButtonChangedModelIDFrom(
        PvSlideViewTabController* controller, int from, int to)
    {
        (void)controller, (void)from, (void)to;
        return false;
    }
};

/**
    Couples an animated slide view with a tab widget in it and up to five buttons. Button
    n (1 to 5) has the tag n. A press is handled after the current event (the controller
    posts PvSelectButtonPressedAsyncNotification when idle): presses are ignored while the
    slide view slides; a press maps the button's tag to a model ID, and pressing the
    button of the current model ID means 0, "close the panel".

    setModelID(id, animate): 0 slides the panel out and leaves the page as it is; any other
    ID selects the tab it maps to, slides the panel in when it is out and checks the
    button of that ID (unchecking the others). When the user or code slides the panel out
    by other means, the model ID becomes 0 too.

    The controller becomes the slide view's delegate and passes every message on to the
    delegate the view had.
*/
class PvSlideViewTabController : public QObject, private PVAnimatedSlideViewDelegate {
    Q_OBJECT
public:
    static constexpr int kMaxButtons = 5;

    explicit PvSlideViewTabController(QObject* parent = nullptr);
    ~PvSlideViewTabController() override;

    void setAnimatedSlideView(PVAnimatedSlideView* view);
    PVAnimatedSlideView* animatedSlideView() const
    {
        // Not a static cast: a view in the middle of its destruction is no slide view.
        return qobject_cast<PVAnimatedSlideView*>(m_animatedSlideView.data());
    }
    void setTabView(QTabWidget* tabView) { m_tabView = tabView; }
    QTabWidget* tabView() const { return m_tabView; }
    /// The buttons, tagged 1 to n in order (more than five are ignored). They become
    /// checkable.
    void setButtons(const QList<QAbstractButton*>& buttons);
    QList<QAbstractButton*> buttons() const;

    PvSlideViewTabControllerDelegate* delegate() const { return m_delegate; }
    void setDelegate(PvSlideViewTabControllerDelegate* delegate) { m_delegate = delegate; }

    int modelID() const { return m_modelID; }
    int previousModelID() const { return m_previousModelID; }
    void setModelID(int modelID, bool animate);

    /// Selects the tab at index, wrapped in the delegate's will and did messages.
    void selectViewWithTabViewItemIndex(int index);

    /// The buttons' action: posts the press for handling when idle.
    void selectButtonsAction(QAbstractButton* sender);

signals:
    void modelIDChanged(int modelID);

private:
    void buttonPressed(QAbstractButton* button);
    void checkButtonWithTag(int tag);
    void pvAnimatedSlideViewWillBeginAnimation(PVAnimatedSlideView* view) override;
    void pvAnimatedSlideViewDidEndAnimation(PVAnimatedSlideView* view) override;
    void pvAnimatedSlideViewWillStartUserResize(PVAnimatedSlideView* view) override;
    void pvAnimatedSlideViewDidEndUserResize(PVAnimatedSlideView* view) override;

    QPointer<QObject> m_animatedSlideView; // a PVAnimatedSlideView
    QPointer<QTabWidget> m_tabView;
    PvSlideViewTabControllerDelegate* m_delegate = nullptr;
    QList<QPointer<QAbstractButton>> m_buttons;
    PVAnimatedSlideViewDelegate* m_animatedSlideViewDelegate = nullptr;
    int m_modelID = 0;
    int m_previousModelID = 0;
};

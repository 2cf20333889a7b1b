#include "PvSlideViewTabController.h"

#include "PvNotificationCenter.h"

PvSlideViewTabController::PvSlideViewTabController(QObject* parent)
    : QObject(parent)
{
    PvNotificationCenter::defaultCenter()->addObserver(
        this, PvSelectButtonPressedAsyncNotification, this, [this](const PvNotification& notification) {
            auto* button
                = qobject_cast<QAbstractButton*>(notification.userInfo.value("SENDER").value<QObject*>());
            buttonPressed(button);
        });
}

PvSlideViewTabController::~PvSlideViewTabController()
{
    if (animatedSlideView() && animatedSlideView()->delegate() == this)
        animatedSlideView()->setDelegate(m_animatedSlideViewDelegate);
}

void PvSlideViewTabController::setAnimatedSlideView(PVAnimatedSlideView* view)
{
    if (animatedSlideView() && animatedSlideView()->delegate() == this)
        animatedSlideView()->setDelegate(m_animatedSlideViewDelegate);
    m_animatedSlideView = view;
    m_animatedSlideViewDelegate = nullptr;
    if (view) {
        m_animatedSlideViewDelegate = view->delegate();
        view->setDelegate(this);
    }
}

void PvSlideViewTabController::setButtons(const QList<QAbstractButton*>& buttons)
{
    for (const QPointer<QAbstractButton>& button : std::as_const(m_buttons))
        if (button)
            disconnect(button, nullptr, this, nullptr);
    m_buttons.clear();
    for (QAbstractButton* button : buttons) {
        if (!button || m_buttons.size() == kMaxButtons)
            continue;
        m_buttons.append(button);
        button->setCheckable(true);
        // The check mark follows the model ID, not the click.
        connect(button, &QAbstractButton::clicked, this, [this, button] {
            checkButtonWithTag(-1);
            selectButtonsAction(button);
        });
    }
    checkButtonWithTag(-1);
}

QList<QAbstractButton*> PvSlideViewTabController::buttons() const
{
    QList<QAbstractButton*> list;
    for (const QPointer<QAbstractButton>& button : m_buttons)
        list.append(button);
    return list;
}

void PvSlideViewTabController::checkButtonWithTag(int tag)
{
    if (tag == -1) { // put the check marks back as the model ID has them
        tag = 0;
        if (m_modelID != 0) {
            tag = m_modelID;
            if (m_delegate)
                if (auto mapped = m_delegate->slideViewTabControllerMapModelID(this, m_modelID))
                    tag = mapped->first;
        }
    }
    for (int i = 0; i < m_buttons.size(); ++i)
        if (m_buttons[i])
            m_buttons[i]->setChecked(i + 1 == tag);
}

void PvSlideViewTabController::selectButtonsAction(QAbstractButton* sender)
{
    PvNotification notification;
    notification.name = PvSelectButtonPressedAsyncNotification;
    notification.object = this;
    notification.userInfo.insert("SENDER", QVariant::fromValue<QObject*>(sender));
    PvNotificationCenter::defaultCenter()->enqueueNotification(notification);
}

void PvSlideViewTabController::buttonPressed(QAbstractButton* button)
{
    const int index = m_buttons.indexOf(button);
    if (!button || index < 0)
        return;
    if (m_delegate && m_delegate->slideViewTabControllerIgnoreButtonPressed(this, button))
        return;
    if (animatedSlideView() && animatedSlideView()->isSliding())
        return;
    const int tag = index + 1;
    int modelID = tag;
    if (m_delegate)
        if (std::optional<int> mapped = m_delegate->slideViewTabControllerMapButtonTagToModelID(this, tag))
            modelID = *mapped;
    if (modelID == m_modelID)
        modelID = 0;
    if (m_delegate && m_delegate->slideViewTabControllerButtonChangedModelIDFrom(this, m_modelID, modelID))
        return;
    setModelID(modelID, true);
}

void PvSlideViewTabController::setModelID(int modelID, bool animate)
{
    int tag = modelID, tabIndex = modelID - 1;
    if (modelID != 0 && m_delegate)
        if (auto mapped = m_delegate->slideViewTabControllerMapModelID(this, modelID))
            std::tie(tag, tabIndex) = *mapped;
    if (modelID != m_modelID) {
        m_previousModelID = m_modelID;
        m_modelID = modelID;
    }
    if (modelID == 0) {
        checkButtonWithTag(0);
        if (animatedSlideView() && animatedSlideView()->isSlidedIn())
            animatedSlideView()->slideOutWithAnimation(animate);
    } else {
        checkButtonWithTag(tag);
        selectViewWithTabViewItemIndex(tabIndex);
        if (animatedSlideView() && animatedSlideView()->isSlidedOut())
            animatedSlideView()->slideInWithAnimation(animate);
    }
    emit modelIDChanged(m_modelID);
}

void PvSlideViewTabController::selectViewWithTabViewItemIndex(int index)
{
    if (!m_tabView || index < 0 || index >= m_tabView->count())
        return;
    QWidget* item = m_tabView->widget(index);
    if (m_delegate)
        m_delegate->slideViewTabControllerWillSelectTabViewItem(this, item, index, m_tabView);
    m_tabView->setCurrentIndex(index);
    if (m_delegate)
        m_delegate->slideViewTabControllerDidSelectTabViewItem(this, item, index, m_tabView);
}

void PvSlideViewTabController::pvAnimatedSlideViewWillBeginAnimation(PVAnimatedSlideView* view)
{
    if (m_animatedSlideViewDelegate)
        m_animatedSlideViewDelegate->pvAnimatedSlideViewWillBeginAnimation(view);
}

void PvSlideViewTabController::pvAnimatedSlideViewDidEndAnimation(PVAnimatedSlideView* view)
{
    if (view->isSlidedOut() && m_modelID != 0) {
        m_previousModelID = m_modelID;
        m_modelID = 0;
        checkButtonWithTag(0);
        emit modelIDChanged(0);
    }
    if (m_animatedSlideViewDelegate)
        m_animatedSlideViewDelegate->pvAnimatedSlideViewDidEndAnimation(view);
}

void PvSlideViewTabController::pvAnimatedSlideViewWillStartUserResize(PVAnimatedSlideView* view)
{
    if (m_animatedSlideViewDelegate)
        m_animatedSlideViewDelegate->pvAnimatedSlideViewWillStartUserResize(view);
}

void PvSlideViewTabController::pvAnimatedSlideViewDidEndUserResize(PVAnimatedSlideView* view)
{
    if (m_animatedSlideViewDelegate)
        m_animatedSlideViewDelegate->pvAnimatedSlideViewDidEndUserResize(view);
}

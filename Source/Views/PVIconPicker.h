// A small control that shows the selected icon and opens an icon pop-up.
#pragma once

#include "PVIconPickerPopUp.h"
#include "PvControl.h"

/**
    Shows the selected icon of its pop-up with a pop-up arrow; a press (or Space, Return
    or Down while it has focus) opens the pop-up, and a pick updates the icon and sends
    the control's action. The pop-up is owned by the control. Without an arrow image the
    platform's arrow is drawn; the frame is the platform's button bevel.
*/
class PVIconPicker : public PvControl {
    Q_OBJECT
public:
    explicit PVIconPicker(QWidget* parent = nullptr);
    ~PVIconPicker() override;

    PVIconPickerPopUp* popUp() const { return m_popUp; }
    /// Takes ownership of popUp (the previous one is destroyed).
    void setPopUp(PVIconPickerPopUp* popUp);
    PVIconPickerPopUpDataSource* dataSource() const { return m_popUp ? m_popUp->dataSource() : nullptr; }
    void setDataSource(PVIconPickerPopUpDataSource* dataSource);
    PVIconPickerPopUpDelegate* delegate() const { return m_popUp ? m_popUp->delegate() : nullptr; }
    void setDelegate(PVIconPickerPopUpDelegate* delegate);
    int32_t arrowImage() const { return m_arrowImage; }
    void setArrowImage(int32_t imageID);
    int state() const { return m_state; }

    QSize sizeHint() const override;
    QAccessible::Role accessibilityRole() const override { return QAccessible::ButtonMenu; }
    QString accessibilityValue() const override;

protected:
    void mouseDown(const PvEvent& event) override;
    bool keyDown(const PvEvent& event) override;
    void drawRect(QPainter& painter, const QRectF& dirtyRect) override;

private slots:
    void _popUpAction(PVIconPickerPopUp* popUp);

private:
    void _updateSelfOrImageView();
    void open(const PvEvent* event);

    QPointer<PVIconPickerPopUp> m_popUp;
    int m_state = 0;
    int32_t m_arrowImage = -1;
};

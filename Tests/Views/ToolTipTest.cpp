// The shared tool-tip window: text at display time, size, placement, attachment.
#include <Pavo/PavoUI.h>

#include <QHelpEvent>
#include <QTest>
#include <gtest/gtest.h>

namespace {

class Source : public PvToolTipStringSource {
public:
    QString text = "Gain -3.0 dB";
    mutable int asked = 0;
    mutable int lastTag = -1;
    QString stringForTag(int tag) const override
    {
        ++asked;
        lastTag = tag;
        return text;
    }
};

class ToolTipCounter : public QWidget {
public:
    using QWidget::QWidget;
    int tips = 0;
    bool event(QEvent* e) override
    {
        if (e->type() == QEvent::ToolTip)
            ++tips;
        return QWidget::event(e);
    }
};

struct ToolTipFixture : ::testing::Test {
    PvWindow window;
    ToolTipCounter* view = nullptr;
    void SetUp() override
    {
        window.setGeometry(200, 150, 300, 200);
        view = new ToolTipCounter(&window);
        view->setGeometry(20, 30, 100, 40);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }
    void TearDown() override { PvToolTipWindow::closeToolTipWindow(); }
};

} // namespace

TEST_F(ToolTipFixture, HangsTwentyOnePointsBelowThePositionAndIsAttached)
{
    Source source;
    PvToolTipWindow::showToolTipWindowForView(view, &source, 7, QPointF(30.7, 40.9));
    PvToolTipWindow* tip = PvToolTipWindow::existingToolTipWindow();
    ASSERT_NE(tip, nullptr);
    EXPECT_TRUE(tip->isVisible());
    EXPECT_EQ(source.lastTag, 7);
    const QPoint origin = window.mapToGlobal(QPoint(0, 0));
    // Truncated: x = 200 + 30.7, y = 150 + 40.9 + 21.
    EXPECT_EQ(tip->pos(), QPoint(int(origin.x() + 30.7), int(origin.y() + 40.9 + 21)));
    const QSizeF text = QFontMetricsF(PvDynamicStringView::toolTipFont()).size(0, source.text);
    EXPECT_EQ(tip->size(),
        QSize(int(std::ceil(std::max(text.width(), 4.0) + 4)), int(std::ceil(text.height() + 4))));
    EXPECT_EQ(tip->attachedWindow(), &window);
    EXPECT_EQ(tip->parentWidget(), &window);
    EXPECT_TRUE(tip->testAttribute(Qt::WA_TransparentForMouseEvents));
    EXPECT_FALSE(window.showToolTip());

    // The window's own tool tips are off while the tip is attached.
    QHelpEvent help(QEvent::ToolTip, QPoint(5, 5), view->mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(view, &help);
    EXPECT_EQ(view->tips, 0);

    // The text is asked again when the tip is drawn.
    const int asked = source.asked;
    source.text = "Gain -12.0 dB";
    tip->stringView()->grab();
    EXPECT_GT(source.asked, asked);
    EXPECT_EQ(tip->stringView()->currentString(), "Gain -12.0 dB");

    // Following a point of the view (tracking coordinates).
    PvToolTipWindow::updateToolTipPosition(QPointF(10, 5), view);
    EXPECT_EQ(tip->pos(), origin + QPoint(20 + 10, 30 + 5 + 21));

    PvToolTipWindow::closeToolTipWindow();
    EXPECT_FALSE(tip->isVisible());
    EXPECT_EQ(tip->attachedWindow(), nullptr);
    EXPECT_TRUE(window.showToolTip());
    QApplication::sendEvent(view, &help);
    EXPECT_EQ(view->tips, 1);
}

TEST_F(ToolTipFixture, EmptyTextMeasuresEightByFour)
{
    Source source;
    source.text.clear();
    EXPECT_EQ(PvDynamicStringView::sizeForString(QString()), QSize(8, 4));
    PvToolTipWindow::showToolTipWindowForView(view, &source, 0, QPointF(0, 0));
    EXPECT_EQ(PvToolTipWindow::existingToolTipWindow()->size(), QSize(8, 4));
    // A one-character text is still at least 4 points wide inside.
    EXPECT_GE(PvDynamicStringView::sizeForString(".").width(), 8);
}

TEST_F(ToolTipFixture, ClosesOnlyForItsOwnerAndWhenTheOwnerGoes)
{
    Source mine;
    Source other;
    PvToolTipWindow::showToolTipWindowForView(view, &mine, 1, QPointF(5, 5));
    PvToolTipWindow* tip = PvToolTipWindow::existingToolTipWindow();
    PvToolTipWindow::closeToolTipWindowIfCurrentlyMine(&other);
    EXPECT_TRUE(tip->isVisible());
    PvToolTipWindow::closeToolTipWindowIfCurrentlyMine(&mine);
    EXPECT_FALSE(tip->isVisible());

    // Showing for another object replaces the text source; a source that is destroyed
    // takes the tip down with it.
    {
        Source shortLived;
        PvToolTipWindow::showToolTipWindowForView(view, &shortLived, 2, QPointF(5, 5));
        EXPECT_TRUE(tip->isVisible());
    }
    EXPECT_FALSE(tip->isVisible());
    EXPECT_EQ(tip->stringView()->object(), nullptr);

    // Hiding the window takes the tip down and gives the window its tool tips back.
    PvToolTipWindow::showToolTipWindowForView(view, &mine, 1, QPointF(5, 5));
    EXPECT_FALSE(window.showToolTip());
    window.hide();
    EXPECT_FALSE(tip->isVisible());
    EXPECT_TRUE(window.showToolTip());
    EXPECT_EQ(tip->attachedWindow(), nullptr);
    window.show();

    // The window it was attached to may go away while it shows.
    auto* other_window = new PvWindow;
    auto* v = new QWidget(other_window);
    other_window->show();
    PvToolTipWindow::showToolTipWindowForView(v, &mine, 1, QPointF(5, 5));
    delete other_window;
    PvToolTipWindow::closeToolTipWindow(); // no crash; a new shared window is made on demand
    PvToolTipWindow::showToolTipWindowForView(view, &mine, 1, QPointF(5, 5));
    EXPECT_TRUE(PvToolTipWindow::existingToolTipWindow()->isVisible());
}

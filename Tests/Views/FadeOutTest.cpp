// The shared fader: steps, set semantics, the timer, pauses in modal loops.
#include <Pavo/PavoUI.h>

#include <QDialog>
#include <QTest>
#include <gtest/gtest.h>

namespace {

struct FadeFixture : ::testing::Test {
    FadeOut* fader = FadeOut::fadeOut();
    PvWindow window;
    void SetUp() override
    {
        window.resize(100, 80);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }
    void TearDown() override
    {
        fader->removeWindow(&window);
        fader->updateAlphaValues(); // stops the timer when nothing is left
    }
};

} // namespace

TEST_F(FadeFixture, HalfOpaqueWindowClosesOnTheTenthStep)
{
    EXPECT_EQ(FadeOut::fadeOut(), fader);
    window.setAlphaValue(0.5f);
    fader->addWindow(&window);
    ASSERT_NE(fader->faderTimer(), nullptr);
    EXPECT_EQ(fader->faderTimer()->interval(), 10);
    for (int i = 1; i <= 9; ++i) {
        fader->updateAlphaValues();
        ASSERT_TRUE(window.isVisible()) << "step " << i;
    }
    EXPECT_NEAR(window.alphaValue(), 0.05, 1e-6);
    fader->updateAlphaValues();
    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(window.alphaValue(), 0.0f);
    EXPECT_FALSE(fader->isFading(&window));
    EXPECT_EQ(fader->faderTimer(), nullptr);
}

TEST_F(FadeFixture, SetSemanticsRemovalAndNull)
{
    fader->addWindow(nullptr);
    EXPECT_EQ(fader->faderTimer(), nullptr); // nothing to fade: no timer
    fader->addWindow(&window);
    fader->addWindow(&window);
    EXPECT_EQ(fader->windowCount(), 1);
    fader->updateAlphaValues();
    EXPECT_NEAR(window.alphaValue(), 0.95, 1e-6); // faded once per step, not twice
    for (int i = 0; i < 4; ++i)
        fader->updateAlphaValues();
    fader->removeWindow(&window);
    EXPECT_NEAR(window.alphaValue(), 0.75, 1e-6);
    EXPECT_TRUE(window.isVisible());
    EXPECT_NE(fader->faderTimer(), nullptr); // stopped by the next step, not by removing
    fader->updateAlphaValues();
    EXPECT_EQ(fader->faderTimer(), nullptr);
    EXPECT_NEAR(window.alphaValue(), 0.75, 1e-6);

    // A window destroyed while fading leaves the set.
    auto* gone = new PvWindow;
    fader->addWindow(gone);
    delete gone;
    EXPECT_EQ(fader->windowCount(), 0);
}

TEST_F(FadeFixture, RunsOnTheTimerButPausesWhileADialogIsModal)
{
    QDialog dialog;
    float alphaInDialog = -1;
    QTimer::singleShot(0, &dialog, [&] { fader->addWindow(&window); });
    QTimer::singleShot(120, &dialog, [&] {
        alphaInDialog = window.alphaValue();
        dialog.accept();
    });
    dialog.exec();
    EXPECT_EQ(alphaInDialog, 1.0f); // no step while the dialog ran
    EXPECT_TRUE(fader->isFading(&window));
    QTRY_VERIFY_WITH_TIMEOUT(!window.isVisible(), 3000);
    EXPECT_EQ(window.alphaValue(), 0.0f);
    QTRY_VERIFY(fader->faderTimer() == nullptr);
}

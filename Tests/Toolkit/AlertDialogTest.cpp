#include <Pavo/PavoUI.h>

#include "TestSupport.h"

#include <QAbstractButton>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

namespace {

QAbstractButton* buttonTitled(QMessageBox* box, const QString& title)
{
    for (QAbstractButton* b : box->buttons()) {
        if (b->text() == title)
            return b;
    }
    return nullptr;
}

const PvAlertRequest kAssertAlert {
    "Assertion failed", "ASSERT(x) in y failed.\n", "Resume", "Debugger", "Stop", 60, false};

} // namespace

TEST(AlertDialog, ButtonsAnswerWithTheirResponseCodes)
{
    for (const auto& [title, expected] : {std::pair {"Resume", int(kPvAlertDefaultResponse)},
             std::pair {"Debugger", int(kPvAlertAlternateResponse)},
             std::pair {"Stop", int(kPvAlertOtherResponse)}}) {
        QMessageBox* box = PvCreateAlertBox(kAssertAlert);
        EXPECT_EQ(box->defaultButton()->text(), QStringLiteral("Resume"));
        QTimer::singleShot(50, box, [box, t = QString::fromLatin1(title)] {
            QAbstractButton* b = buttonTitled(box, t);
            ASSERT_NE(b, nullptr);
            QTest::mouseClick(b, Qt::LeftButton);
        });
        EXPECT_EQ(PvExecAlertBox(box, 0), expected) << title;
        delete box;
    }
}

TEST(AlertDialog, KeyboardDefaultTimeOutAndRendering)
{
    QMessageBox* box = PvCreateAlertBox(kAssertAlert);
    QTimer::singleShot(50, box, [box] { QTest::keyClick(box, Qt::Key_Return); });
    EXPECT_EQ(PvExecAlertBox(box, 0), int(kPvAlertDefaultResponse)) << "Return presses the default button";
    delete box;

    box = PvCreateAlertBox(kAssertAlert);
    EXPECT_EQ(PvExecAlertBox(box, 0.2), int(kPvAlertCancelResponse)) << "nobody answered";
    box->show();
    box->grab().save(PavoTest::outputDir() + QStringLiteral("/alert-dialog.png"));
    delete box;

    // Installed at application start, the dialog alert falls back to text offscreen.
    PavoTest::StderrCapture capture;
    EXPECT_EQ(PvRunAlert(kAssertAlert), int(kPvAlertDefaultResponse));
    EXPECT_TRUE(capture.text().contains("-> Resume (no display)"));
}

TEST(BundleImage, LoadsTheFrameworkPictures)
{
    const QPixmap keys = pv_loadPavoBundleImage(QStringLiteral("octave-glyphKeys"));
    ASSERT_FALSE(keys.isNull());
    EXPECT_EQ(keys.width(), 75 * 6);
    EXPECT_EQ(pv_loadPavoBundleImage(QStringLiteral("octave-glyphKeys-short")).width(), 74 * 6);
    EXPECT_TRUE(pv_loadPavoBundleImage(QStringLiteral("no-such-picture")).isNull());
    // Not a pro application: the plain picture even where a "_pro" one exists.
    EXPECT_EQ(pv_pavoBundleImagePath(QStringLiteral("PV_BrowserColumnSplitter")),
        QStringLiteral(":/Pavo/Images/PV_BrowserColumnSplitter.png"));
}

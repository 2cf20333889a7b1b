#include <Pavo/PavoUI.h>

#include <QApplication>
#include <gtest/gtest.h>

class NSProApplication : public QApplication {
    Q_OBJECT
public:
    using QApplication::QApplication;
};

class StudioApplication : public NSProApplication {
    Q_OBJECT
public:
    using NSProApplication::NSProApplication;
};

TEST(ProApp, DerivedApplicationClassCountsAndPicksProPictures)
{
    EXPECT_TRUE(isRunningAsProApp());
    EXPECT_EQ(pv_pavoBundleImagePath(QStringLiteral("PV_BrowserColumnSplitter")),
        QStringLiteral(":/Pavo/Images/PV_BrowserColumnSplitter_pro.png"));
    // No pro variant: the plain picture.
    EXPECT_EQ(pv_pavoBundleImagePath(QStringLiteral("octave-glyphKeys")),
        QStringLiteral(":/Pavo/Images/octave-glyphKeys.png"));
    const QImage pro = pv_loadPavoBundleImage(QStringLiteral("PV_BrowserColumnSplitter")).toImage();
    const QImage plain(QStringLiteral(":/Pavo/Images/PV_BrowserColumnSplitter.png"));
    ASSERT_FALSE(pro.isNull());
    EXPECT_LT(qGray(pro.pixel(5, 1)), qGray(plain.pixel(5, 1))) << "the pro picture is the dark one";
}

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    StudioApplication app(argc, argv);
    return RUN_ALL_TESTS();
}

#include "ProAppTest.moc"

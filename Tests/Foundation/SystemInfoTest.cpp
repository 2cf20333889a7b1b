#include <Pavo/PavoCore.h>

#include "TestSupport.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

const char kPlist[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict>
  <key>ProductBuildVersion</key><string>9B18</string>
  <key>ProductName</key><string>Mac OS X</string>
  <key>ProductVersion</key><string>10.5.1</string>
</dict></plist>
)";

} // namespace

TEST(OSVersion, PropertyListFirstThenOsReleaseElseUnknown)
{
    QTemporaryDir dir;
    const QString plist = dir.filePath("SystemVersion.plist");
    const QString osRelease = dir.filePath("os-release");
    ASSERT_TRUE(PavoTest::writeFile(plist, kPlist));
    ASSERT_TRUE(PavoTest::writeFile(osRelease,
        "PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n"
        "NAME=\"Debian GNU/Linux\"\nVERSION_ID=\"12\"\nVERSION=\"12 (bookworm)\"\n"));
    EXPECT_EQ(
        PVOSVersionFromFiles(plist, {osRelease}, "6.1.0"), QStringLiteral("Mac OS X 10.5.1 (Build 9B18)"));
    EXPECT_EQ(
        PVOSVersionFromFiles(dir.filePath("none.plist"), {dir.filePath("none"), osRelease}, "6.1.0-18-amd64"),
        QStringLiteral("Debian GNU/Linux 12 (Build 6.1.0-18-amd64)"));
    EXPECT_EQ(PVOSVersionFromFiles(dir.filePath("none.plist"), {dir.filePath("none")}, "6.1"),
        QStringLiteral("Unknown"));

    // A missing key prints as the text of nothing; a damaged property list is unreadable.
    ASSERT_TRUE(PavoTest::writeFile(plist, QByteArray(kPlist).replace("ProductName", "Other")));
    EXPECT_EQ(PVOSVersionFromFiles(plist, {}, {}), QStringLiteral("(null) 10.5.1 (Build 9B18)"));
    ASSERT_TRUE(PavoTest::writeFile(plist, "<plist><dict><key>"));
    EXPECT_EQ(PVOSVersionFromFiles(plist, {osRelease}, {}), QStringLiteral("Unknown"));
    // So is a binary one whose arrays each hold the next twice (2^40 nodes unfolded).
    QByteArray bomb("bplist00");
    for (int i = 0; i < 40; ++i)
        bomb += QByteArray("\xA2") + char(i + 1) + char(i + 1);
    bomb += QByteArray("\x10\x01", 2);
    const qsizetype table = bomb.size();
    for (int i = 0; i <= 40; ++i)
        bomb += char(8 + 3 * i);
    QByteArray trailer(32, 0);
    trailer[6] = trailer[7] = 1;
    trailer[15] = 41;
    trailer[31] = char(table);
    ASSERT_TRUE(PavoTest::writeFile(plist, bomb + trailer));
    EXPECT_EQ(PVOSVersionFromFiles(plist, {osRelease}, {}), QStringLiteral("Unknown"));

    // This machine has an os-release file, so the live answer is never "Unknown".
    EXPECT_NE(PVOSVersion(), QStringLiteral("Unknown"));
    EXPECT_TRUE(PVOSVersion().contains(QStringLiteral("(Build ")));
}

TEST(OSVersion, KernelThresholds)
{
    PVSetKernelRelease("8.11.1");
    EXPECT_EQ(majorOSVersion(), 8);
    EXPECT_TRUE(isJaguarOrNewer());
    EXPECT_TRUE(isPantherOrNewer());
    EXPECT_TRUE(isTigerOrNewer());
    EXPECT_FALSE(isLeopardOrNewer());
    PVSetKernelRelease("9.1.0");
    EXPECT_TRUE(isLeopardOrNewer());
    PVSetKernelRelease("5.0");
    EXPECT_FALSE(isJaguarOrNewer());
    PVSetKernelRelease("garbage");
    EXPECT_EQ(majorOSVersion(), 0);
    PVSetKernelRelease(nullptr);
    EXPECT_GT(majorOSVersion(), 2) << "the running kernel's major number";
}

TEST(ApplicationInfo, NameAndVersionRules)
{
    QCoreApplication::setApplicationName(QStringLiteral("Mixer"));
    QCoreApplication::setApplicationVersion(QString());
    PVSetApplicationInfo({});
    EXPECT_EQ(PVApplicationName(), QStringLiteral("Mixer"));
    EXPECT_EQ(PVApplicationVersion(), QStringLiteral("?.??"));

    QCoreApplication::setApplicationVersion(QStringLiteral("2.1"));
    EXPECT_EQ(PVApplicationVersion(), QStringLiteral("2.1"));

    PVSetApplicationInfo({{"CFBundleName", "Pavo Host"}, {"CFBundleShortVersionString", "1.0"},
        {"CFBundleVersion", ""}, {"ProductBuildVersion", "X"}});
    EXPECT_EQ(PVApplicationName(), QStringLiteral("Pavo Host"));
    EXPECT_EQ(PVApplicationVersion(), QStringLiteral("1.0"));
    PVSetApplicationInfo({{"CFBundleShortVersionString", "1.0"}, {"CFBundleVersion", "42"}});
    EXPECT_EQ(PVApplicationVersion(), QStringLiteral("1.0(42)"));
    PVSetApplicationInfo(
        {{"CFBundleShortVersionString", "1.0"}, {"CFBundleVersion", "42"}, {"ProductBuildVersion", "7A1"}});
    EXPECT_EQ(PVApplicationVersion(), QStringLiteral("1.0(42) 7A1"));
    PVSetApplicationInfo({{"CFBundleShortVersionString", ""}, {"CFBundleVersion", "42"}});
    EXPECT_EQ(PVApplicationVersion(), QStringLiteral("?.??"));

    PVSetApplicationInfo({});
    QCoreApplication::setApplicationName(QString()); // falls back to the program's name
    EXPECT_EQ(PVApplicationName(), QStringLiteral("test_foundation"));
    EXPECT_FALSE(isRunningAsProApp());
}

#include <Pavo/PavoCore.h>

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

#include <TestSupport.h>

#include <cstring>
#include <string>

namespace {

std::string bytes(const char* p, size_t n)
{
    return std::string(p, n);
}

} // namespace

TEST(UTF8, StrlenCountsTheLeadingAsciiRun)
{
    EXPECT_EQ(utf8_strlen("abc\xC3\xA9"
                          "d"),
        3u);
    EXPECT_EQ(utf8_strlen(""), 0u);
    EXPECT_EQ(utf8_strlen(nullptr), 0u);
    // Long runs go through the wide scan; the first high byte can sit anywhere in it.
    for (size_t at = 0; at < 70; ++at) {
        std::string s(80, 'x');
        s[at] = '\x80';
        EXPECT_EQ(utf8_strlen(s.c_str()), at);
    }
    EXPECT_EQ(utf8_strlen(std::string(100, 'x').c_str()), 100u);
}

TEST(UTF8, StrncpyNeverSplitsACharacter)
{
    const char* text = "abcd\xE2\x82\xAC"
                       "e"; // a three-byte character at byte 4
    char dst[8];
    std::memset(dst, '#', sizeof dst);
    EXPECT_EQ(utf8_strncpy(dst, text, 6), dst);
    EXPECT_EQ(bytes(dst, 8), bytes("abcd\0\0##", 8));

    std::memset(dst, '#', sizeof dst);
    utf8_strncpy(dst, text, 4); // fills dst exactly: no terminator
    EXPECT_EQ(bytes(dst, 5), "abcd#");

    std::memset(dst, '#', sizeof dst);
    utf8_strncpy(dst, text, 7);
    EXPECT_EQ(bytes(dst, 8), bytes("abcd\xE2\x82\xAC#", 8));

    // Leading continuation bytes are skipped; a later stray one is a character of its own.
    std::memset(dst, '#', sizeof dst);
    utf8_strncpy(dst,
        "\x80\xBF"
        "a\x80z",
        8);
    EXPECT_EQ(bytes(dst, 8), bytes("a\x80z\0\0\0\0\0", 8));

    // Five- and six-byte forms count whole; a sequence cut by the terminator copies what it has.
    std::memset(dst, '#', sizeof dst);
    utf8_strncpy(dst, "\xFC\x80\x80\x80\x80\x80", 6);
    EXPECT_EQ(bytes(dst, 7), bytes("\xFC\x80\x80\x80\x80\x80#", 7));
    std::memset(dst, '#', sizeof dst);
    utf8_strncpy(dst, "\xF8\x80\x80\x80\x80", 4);
    EXPECT_EQ(bytes(dst, 5), bytes("\0\0\0\0#", 5));
    std::memset(dst, '#', sizeof dst);
    utf8_strncpy(dst, "a\xE2\x82", 8);
    EXPECT_EQ(bytes(dst, 8), bytes("a\xE2\x82\0\0\0\0\0", 8));

    EXPECT_EQ(utf8_strncpy(nullptr, "abc", 4), nullptr);

    // A long ASCII run stops exactly at the room it has.
    std::string longText(100, 'q');
    char big[64];
    utf8_strncpy(big, longText.c_str(), 64);
    EXPECT_EQ(bytes(big, 64), std::string(64, 'q'));
}

TEST(UTF8, StrlcpyAlwaysTerminates)
{
    char dst[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(utf8_strlcpy(dst, "abc", 1), dst);
    EXPECT_EQ(bytes(dst, 2), bytes("\0#", 2));
    utf8_strlcpy(dst, "ab\xC3\xA9", 4);
    EXPECT_EQ(bytes(dst, 4), bytes("ab\0\0", 4));
    utf8_strlcpy(dst, "abcdef", 4);
    EXPECT_STREQ(dst, "abc");
}

TEST(UTF8, CheckFollowsSequenceStructure)
{
    EXPECT_TRUE(utf8_check(""));
    EXPECT_TRUE(utf8_check("plain ASCII text that is long enough for the wide scan"));
    EXPECT_TRUE(utf8_check("caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x8E\xB5!"));
    EXPECT_TRUE(utf8_check("\xF8\x88\x80\x80\x80")); // the old 5-byte form
    EXPECT_TRUE(utf8_check("\xFC\x84\x80\x80\x80\x80"));
    EXPECT_TRUE(utf8_verify("\xC3\xA9"));

    EXPECT_FALSE(utf8_check("\x80")); // a lone continuation byte
    EXPECT_FALSE(utf8_check("a\x80")); // continuation after ASCII
    EXPECT_FALSE(utf8_check("\xE2\x82z")); // ASCII inside a sequence
    EXPECT_FALSE(utf8_check("ok\xE2\x82")); // cut off inside a sequence
    EXPECT_FALSE(utf8_verify("\xC3\xA9\xA9"));
    EXPECT_FALSE(utf8_check(nullptr));

    // The lenient parts are kept: 0xFF is passed over, a new lead byte restarts the count,
    // and an extra continuation byte only fails when nothing makes up for it.
    EXPECT_TRUE(utf8_check("\xFF\xC3\xA9"));
    EXPECT_FALSE(utf8_check("\xC3\xFF\xA9"));
    EXPECT_FALSE(utf8_check("\xFF"
                            "a"));
    EXPECT_TRUE(utf8_check("\xE2\xC3\xA9"));
    EXPECT_TRUE(utf8_check("\xC3\xA9\xA9\xC3\xA9"));
}

TEST(UTF8, IsAsciiHonoursTheCount)
{
    EXPECT_TRUE(utf8_is_ascii("hello", 0));
    EXPECT_TRUE(utf8_is_ascii("", 0));
    EXPECT_FALSE(utf8_is_ascii(nullptr, 0));
    EXPECT_FALSE(utf8_is_ascii("hell\xC3\xB6", 0));
    EXPECT_TRUE(utf8_is_ascii("hell\xC3\xB6", 4));
    EXPECT_FALSE(utf8_is_ascii("hell\xC3\xB6", 5));
    EXPECT_TRUE(utf8_is_ascii("hi", 100)); // stops at the terminator
    std::string s(200, 'a');
    EXPECT_TRUE(utf8_is_ascii(s.c_str(), 0));
    s[150] = '\xE9';
    EXPECT_FALSE(utf8_is_ascii(s.c_str(), 0));
    EXPECT_TRUE(utf8_is_ascii(s.c_str(), 150));
}

TEST(UTF8, StrchrComparesLastBytesBackwards)
{
    const char* abcab = "abcab";
    EXPECT_EQ(utf8_strchr(abcab, 'a'), abcab + 3);
    EXPECT_EQ(utf8_strchr("abc", 'a'), nullptr); // first byte never compared
    EXPECT_EQ(utf8_strchr("abc", 'c'), nullptr); // last character never compared
    const char* slash = "a/b/c";
    EXPECT_EQ(utf8_strchr(slash, '/'), slash + 3);
    // The byte compared for a multi-byte character is its last one, as a signed char.
    const char* accented = "x\xC3\xA9yz";
    EXPECT_EQ(utf8_strchr(accented, static_cast<signed char>(0xA9)), accented + 2);
    EXPECT_EQ(utf8_strchr(accented, 0xA9), nullptr);
    EXPECT_EQ(utf8_strchr(accented, static_cast<signed char>(0xC3)), nullptr);
    EXPECT_EQ(utf8_strchr("", 'a'), nullptr);
    EXPECT_EQ(utf8_strchr("\x80\x80\x80", 'a'), nullptr);
}

TEST(UTF8, QStringConversions)
{
    EXPECT_TRUE(utf8_to_cfstring("").isNull());
    EXPECT_TRUE(utf8_to_cfstring(nullptr).isNull());
    EXPECT_TRUE(utf8_to_nsstring("\xC3").isNull());
    EXPECT_TRUE(utf8_to_cfstring("\xC0\xAF").isNull()); // overlong
    EXPECT_EQ(utf8_to_cfstring("caf\xC3\xA9"), QString::fromUtf8("café"));
    EXPECT_EQ(utf8_to_nsstring("\xEF\xBB\xBFx"), QString(QChar(0xFEFF)) + u'x'); // BOM kept

    char dst[16];
    std::memset(dst, '#', sizeof dst);
    EXPECT_EQ(utf8_from_cfstring(dst, QString::fromUtf8("h\xC3\xA9llo"), 16), 6u);
    EXPECT_STREQ(dst, "h\xC3\xA9llo");
    // At most capacity - 1 units and bytes, never half a character.
    EXPECT_EQ(utf8_from_nsstring(dst, QString::fromUtf8("abcd\xE2\x82\xAC"), 6), 4u);
    EXPECT_STREQ(dst, "abcd");
    EXPECT_EQ(utf8_from_cfstring(dst, QString::fromUtf16(u"a\U0001F3B5b"), 16), 6u);
    EXPECT_STREQ(dst, "a\xF0\x9F\x8E\xB5\x62");
    // A surrogate pair cut by the unit count, and an unpaired one, become "?".
    EXPECT_EQ(utf8_from_cfstring(dst, QString::fromUtf16(u"a\U0001F3B5b"), 3), 2u);
    EXPECT_STREQ(dst, "a?");
    dst[0] = '#';
    EXPECT_EQ(utf8_from_cfstring(dst, QStringLiteral("x"), 0), 0u);
    EXPECT_EQ(dst[0], '#');
    EXPECT_EQ(utf8_from_cfstring(dst, QString(), 8), uint32_t(reinterpret_cast<uintptr_t>(dst)));
    EXPECT_EQ(dst[0], 0);
}

TEST(UTF8, FileSystemNames)
{
    char c[32];
    QString changed = QStringLiteral("stale");
    EXPECT_EQ(utf8_to_fsspecFileSystemCString(c, "Caf\xC3\xA9", 32, &changed), c);
    EXPECT_STREQ(c, "Caf\x8E");
    EXPECT_TRUE(changed.isNull());

    // Decomposed accents compose; characters without a byte become "_"; both are reported.
    utf8_to_fsspecFileSystemCString(c, "Cafe\xCC\x81", 32, &changed);
    EXPECT_STREQ(c, "Caf\x8E");
    EXPECT_EQ(changed, QString::fromUtf8("Café"));
    utf8_to_fsspecFileSystemCString(c, "\xE6\x97\xA5 \xF0\x9F\x8E\xB5", 32, &changed);
    EXPECT_STREQ(c, "_ _");
    EXPECT_EQ(changed, QStringLiteral("_ _"));
    // Cut to capacity - 1 bytes.
    utf8_to_fsspecFileSystemCString(c, "abcdef", 4, &changed);
    EXPECT_STREQ(c, "abc");
    EXPECT_EQ(changed, QStringLiteral("abc"));
    // Invalid UTF-8 leaves an empty name.
    utf8_to_fsspecFileSystemCString(c, "ab\xC3", 32, &changed);
    EXPECT_STREQ(c, "");
    EXPECT_TRUE(changed.isNull());

    unsigned char p[300];
    std::memset(p, '#', sizeof p);
    EXPECT_EQ(utf8_to_fsspecFileSystemPascalString(p, "Menu \xE2\x80\xA2 Item", 19), p);
    EXPECT_EQ(p[0], 11);
    EXPECT_EQ(bytes(reinterpret_cast<char*>(p) + 1, 11), "Menu \xA5 Item");
    std::string longName(400, 'n');
    utf8_to_fsspecFileSystemPascalString(p, longName.c_str(), 1000);
    EXPECT_EQ(p[0], 254); // capped at 255 bytes including the length

    char fs[8];
    utf8_to_fileSystemRepresentation(fs, "ab\xE2\x82\xAC", 8);
    EXPECT_STREQ(fs, "ab\xE2\x82\xAC");
    utf8_to_fileSystemRepresentation(fs, "abcd\xE2\x82\xAC", 6); // cut before the euro sign
    EXPECT_STREQ(fs, "abcd");
    std::memset(fs, '#', sizeof fs);
    utf8_to_fileSystemRepresentation(fs, "\xFF", 8);
    EXPECT_STREQ(fs, "");
}

TEST(UTF8, LogAndTraceWriteTheTextOrTheMalformedNotice)
{
    PavoTest::StderrCapture capture;
    utf8_log("plain 100%% sure");
    utf8_log("");
    utf8_log(nullptr);
    utf8_trace("bad \xC3");
    const QByteArray text = capture.text();
    EXPECT_TRUE(text.contains("plain 100% sure")) << text.constData();
    EXPECT_TRUE(text.contains("(null)")) << text.constData();
    EXPECT_EQ(text.count("utf8_trace: malformed string"), 1) << text.constData();
}

TEST(UTF8, UnitTestCreatesItsFileAndLogsTimings)
{
    const QString path = QDir(QDir::tempPath()).filePath(QString::fromUtf8("utf8 \xE2\x80\xA2 unit test"));
    QFile::remove(path);
    PavoTest::StderrCapture capture;
    EXPECT_EQ(utf8_unitTest(), 1);
    const QByteArray text = capture.text();
    EXPECT_TRUE(QFile::exists(path)) << path.toStdString();
    EXPECT_TRUE(text.contains("utf8_strlcpy(*10000000) took ")) << text.constData();
    EXPECT_TRUE(text.contains("     strlcpy(*10000000) took ")) << text.constData();
    QFile::remove(path);
}

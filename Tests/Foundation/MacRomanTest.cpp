#include <Pavo/PavoCore.h>

#include <gtest/gtest.h>

TEST(MacRoman, EveryByteRoundTripsThroughUnicode)
{
    for (int b = 0; b < 256; ++b) {
        char16_t u = PvMacRomanToUnicode(uint8_t(b));
        EXPECT_EQ(PvUnicodeToMacRoman(u), b) << "byte " << b;
    }
    // Spot checks of the high half against the published mapping.
    EXPECT_EQ(PvMacRomanToUnicode(0x80), u'\u00C4');
    EXPECT_EQ(PvMacRomanToUnicode(0xA5), u'\u2022');
    EXPECT_EQ(PvMacRomanToUnicode(0xDB), u'\u20AC');
    EXPECT_EQ(PvMacRomanToUnicode(0xF0), u'\uF8FF');
    EXPECT_EQ(PvMacRomanToUnicode(0xFF), u'\u02C7');
}

TEST(MacRoman, StringsComposeAndReportLoss)
{
    const char bytes[] = "Caf\x8E \xA5";
    EXPECT_EQ(PvStringFromMacRoman(bytes), QString::fromUtf8("Café •"));
    bool lossless = false;
    // A decomposed é (e + combining acute) still encodes to its one byte.
    EXPECT_EQ(PvMacRomanFromString(QString::fromUtf8("Cafe\u0301"), &lossless), QByteArray("Caf\x8E"));
    EXPECT_TRUE(lossless);
    EXPECT_EQ(PvMacRomanFromString(QString::fromUtf8("日本"), &lossless), QByteArray("??"));
    EXPECT_FALSE(lossless);
    EXPECT_TRUE(PvStringFromMacRoman(nullptr).isNull());
}

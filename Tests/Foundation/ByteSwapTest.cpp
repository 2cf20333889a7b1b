#include <Pavo/PavoCore.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

Bytes counting(size_t n)
{
    Bytes b(n);
    for (size_t i = 0; i < n; ++i)
        b[i] = static_cast<unsigned char>(i + 1);
    return b;
}

// Resets the process-wide limit around each test, whatever a test leaves behind.
class ByteSwap : public ::testing::Test {
protected:
    void SetUp() override { SetPIntelLimit(reinterpret_cast<const char*>(UINTPTR_MAX)); }
    void TearDown() override { SetPIntelLimit(reinterpret_cast<const char*>(UINTPTR_MAX)); }
};

} // namespace

TEST_F(ByteSwap, FieldCodesSwapAsTabulatedAdvanceAndUndoThemselves)
{
    struct Row {
        int code;
        size_t size;
        Bytes expected; // of counting(size)
    };
    const Row rows[] = {
        {0, 1, {1}},
        {3, 1, {1}},
        {4, 2, {1, 2}},
        {5, 3, {1, 2, 3}},
        {6, 4, {1, 2, 3, 4}},
        {7, 4, {4, 3, 2, 1}},
        {8, 8, {4, 3, 2, 1, 8, 7, 6, 5}},
        {10, 16, {4, 3, 2, 1, 8, 7, 6, 5, 12, 11, 10, 9, 16, 15, 14, 13}},
        {11, 8, {8, 7, 6, 5, 4, 3, 2, 1}},
        {13, 24, {8, 7, 6, 5, 4, 3, 2, 1, 16, 15, 14, 13, 12, 11, 10, 9, 24, 23, 22, 21, 20, 19, 18, 17}},
        {15, 2, {2, 1}},
        {17, 6, {2, 1, 4, 3, 6, 5}},
        {18, 8, {2, 1, 4, 3, 6, 5, 8, 7}},
        {19, 6, {4, 3, 2, 1, 6, 5}},
        {20, 16, {8, 7, 6, 5, 4, 3, 2, 1, 16, 15, 14, 13, 12, 11, 10, 9}},
        {22, 1, {1}},
        {255, 1, {1}},
    };
    for (const Row& row : rows) {
        Bytes b = counting(row.size + 4);
        IntelSwap(b.data(), row.code);
        b.resize(row.size);
        EXPECT_EQ(b, row.expected) << "code " << row.code;
    }
    // Every code advances by its size, touches nothing after the field, and undoes itself.
    auto sizeOf = [](int code) -> size_t {
        static const size_t sizes[22]
            = {1, 1, 1, 1, 2, 3, 4, 4, 8, 12, 16, 8, 16, 24, 32, 2, 4, 6, 8, 6, 16, 2};
        return code < 22 ? sizes[code] : 1;
    };
    for (int code = 0; code < 256; ++code) {
        if (code == 21)
            continue; // changes the limit; covered below
        Bytes b = counting(40);
        EXPECT_EQ(IntelSwap(b.data(), code), b.data() + sizeOf(code)) << code;
        EXPECT_EQ(b[sizeOf(code)], sizeOf(code) + 1) << code;
        IntelSwap(b.data(), code);
        EXPECT_EQ(b, counting(40)) << code;
    }
    Bytes b = counting(12);
    EXPECT_EQ(MultiIntelSwap(b.data(), 15, 3), b.data() + 6);
    EXPECT_EQ(b, (Bytes {2, 1, 4, 3, 6, 5, 7, 8, 9, 10, 11, 12}));
    EXPECT_EQ(MultiIntelSwap(b.data(), 7, 0), b.data());
    EXPECT_EQ(MultiIntelSwap(b.data(), 7, -4), b.data());
}

TEST_F(ByteSwap, TablesRunRepeatsAndRestoreWhenRunTwice)
{
    Bytes b = {1, 2, 3, 4, 5, 6};
    unsigned char table[] = {7, 15, 0};
    EXPECT_EQ(TabIntelSwap(b.data(), table), b.data() + 6);
    EXPECT_EQ(b, (Bytes {4, 3, 2, 1, 6, 5}));
    TabIntelSwap(b.data(), table);
    EXPECT_EQ(b, (Bytes {1, 2, 3, 4, 5, 6}));

    unsigned char three16[] = {1, 15, 3, 0};
    b = counting(8);
    EXPECT_EQ(TabIntelSwap(b.data(), three16), b.data() + 6);
    EXPECT_EQ(b, (Bytes {2, 1, 4, 3, 6, 5, 7, 8}));

    unsigned char two32[] = {2, 7, 0, 2, 0};
    b = counting(9);
    EXPECT_EQ(TabIntelSwap(b.data(), two32), b.data() + 8);
    EXPECT_EQ(b, (Bytes {4, 3, 2, 1, 8, 7, 6, 5, 9}));

    // A 16-bit count is read most significant byte first: 0x0102 = 258 words.
    unsigned char many[] = {2, 15, 1, 2, 6, 0};
    b = counting(258 * 2 + 8);
    EXPECT_EQ(TabIntelSwap(b.data(), many), b.data() + 258 * 2 + 4);
    EXPECT_EQ(b[0], 2);
    EXPECT_EQ(b[515], 0xFF & 515);
    EXPECT_EQ(b[516], 0xFF & 517); // code 6 leaves its four bytes

    // A record mixing every kind of field comes back after two runs; the count argument
    // may be zero and the code argument may be 0 without ending the table.
    unsigned char mixed[] = {19, 1, 0, 2, 20, 2, 11, 0, 3, 1, 7, 0, 9, 14, 17, 5, 0};
    const size_t size = 6 + 2 + 16 + 24 + 12 + 32 + 6 + 3;
    std::mt19937 rng(7);
    Bytes record(size + 1);
    for (auto& x : record)
        x = static_cast<unsigned char>(rng());
    Bytes copy = record;
    EXPECT_EQ(TabIntelSwap(record.data(), mixed), record.data() + size);
    EXPECT_NE(record, copy);
    TabIntelSwap(record.data(), mixed);
    EXPECT_EQ(record, copy);
}

TEST_F(ByteSwap, LimitLeavesCrossingFieldsAndAlwaysAdvances)
{
    // Code 7 at p + 4 with the limit at p + 6 stays as it was and still advances to p + 8.
    Bytes b = counting(8);
    unsigned char table[] = {7, 7, 0};
    EXPECT_EQ(LimitTabIntelSwap(b.data(), table, b.data() + 6), b.data() + 8);
    EXPECT_EQ(b, (Bytes {4, 3, 2, 1, 5, 6, 7, 8}));
    EXPECT_EQ(GetPIntelLimit(), reinterpret_cast<const char*>(UINTPTR_MAX)); // restored

    // A field ending exactly at the limit is swapped.
    b = counting(4);
    unsigned char one[] = {7, 0};
    LimitTabIntelSwap(b.data(), one, b.data() + 4);
    EXPECT_EQ(b, (Bytes {4, 3, 2, 1}));

    // A repeated field across the limit keeps its first and its crossing element as they
    // were; elements before the crossing one are swapped, after it they overrun alone.
    b = counting(8);
    SetPIntelLimit(reinterpret_cast<const char*>(b.data() + 5));
    EXPECT_EQ(IntelSwap(b.data(), 18), b.data() + 8);
    EXPECT_EQ(b, (Bytes {1, 2, 4, 3, 5, 6, 7, 8}));
    EXPECT_EQ(GetPIntelLimit(), reinterpret_cast<const char*>(b.data() + 5));

    // Code 19 crossing the limit is left whole.
    b = counting(6);
    SetPIntelLimit(reinterpret_cast<const char*>(b.data() + 5));
    IntelSwap(b.data(), 19);
    EXPECT_EQ(b, counting(6));
}

TEST_F(ByteSwap, Code21SetsTheLimitForTheRestOfTheRun)
{
    // 00 08 read on a little-endian host becomes 08 00 and limits the record to p + 8.
    Bytes b = {0x00, 0x08, 1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(IntelSwap(b.data(), 21), b.data() + 2);
    EXPECT_EQ(b[0], 0x08);
    EXPECT_EQ(b[1], 0x00);
    EXPECT_EQ(GetPIntelLimit(), reinterpret_cast<const char*>(b.data() + 8));

    // In a table, the announced length stops the swap at the record's end, and the
    // caller's limit comes back afterwards.
    Bytes rec = {0x00, 0x08, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    unsigned char table[] = {21, 16, 7, 0};
    const char* callerLimit = reinterpret_cast<const char*>(rec.data() + 100);
    SetPIntelLimit(callerLimit);
    EXPECT_EQ(LimitTabIntelSwap(rec.data(), table, rec.data() + 12), rec.data() + 10);
    EXPECT_EQ(rec, (Bytes {0x08, 0x00, 2, 1, 4, 3, 5, 6, 7, 8, 9, 10}));
    EXPECT_EQ(GetPIntelLimit(), callerLimit);

    // Lengths of 2 or less, or negative ones, leave the limit alone.
    for (Bytes small : {Bytes {0x00, 0x02}, Bytes {0xFF, 0xFF}}) {
        SetPIntelLimit(callerLimit);
        IntelSwap(small.data(), 21);
        EXPECT_EQ(GetPIntelLimit(), callerLimit);
    }
}

TEST_F(ByteSwap, SwapDataCopiesAlongTheCopyTable)
{
    const char src[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22};
    char dst[22] = {};
    const char stopAtShort[] = {4, -2, 0};
    EXPECT_EQ(SwapData(dst, src, stopAtShort, 5), char(0xFE));
    EXPECT_EQ(Bytes(dst, dst + 5), (Bytes {4, 3, 2, 1, 0}));

    char out[22] = {};
    const char all[] = {2, 8, 3, -3, 4, 1, 0};
    EXPECT_EQ(SwapData(out, src, all, 22), 0);
    EXPECT_EQ(Bytes(out, out + 22),
        (Bytes {2, 1, 10, 9, 8, 7, 6, 5, 4, 3, 11, 12, 13, 14, 15, 16, 20, 19, 18, 17, 21, 0}));

    // In place (dst == src) works field by field.
    char inplace[] = {1, 2, 3, 4, 5, 6};
    const char swap4[] = {4, 2, 0};
    EXPECT_EQ(SwapData(inplace, inplace, swap4, 6), 0);
    EXPECT_EQ(Bytes(inplace, inplace + 6), (Bytes {4, 3, 2, 1, 6, 5}));
}

TEST_F(ByteSwap, SampleAndRunSwappers)
{
    Bytes s8 = {0x00, 0xFF, 0x80, 0x7F};
    EXPECT_EQ(ProcessSwapIntel(s8.data(), 4, 0, 8), 1);
    EXPECT_EQ(s8, (Bytes {0x80, 0x7F, 0x00, 0xFF}));

    Bytes s24 = counting(7);
    ProcessSwapIntel(s24.data(), 2, 99, 24);
    EXPECT_EQ(s24, (Bytes {3, 2, 1, 6, 5, 4, 7}));

    Bytes s32 = counting(9);
    ProcessSwapIntel(s32.data(), 2, 0, 32);
    EXPECT_EQ(s32, (Bytes {4, 3, 2, 1, 8, 7, 6, 5, 9}));

    Bytes s16 = counting(5);
    ProcessSwapIntel(s16.data(), 2, 0, 16);
    EXPECT_EQ(s16, (Bytes {2, 1, 4, 3, 5}));
    ProcessSwapIntel(s16.data(), 0, 0, 16);
    EXPECT_EQ(s16, (Bytes {2, 1, 4, 3, 5}));

    Bytes w = counting(5);
    EXPECT_EQ(PSwapWord(w.data(), 2), w.data() + 4);
    EXPECT_EQ(w, (Bytes {2, 1, 4, 3, 5}));
    EXPECT_EQ(PSwapWord(w.data(), -1), w.data());

    Bytes l = counting(9);
    EXPECT_EQ(PSwapLong(l.data() + 1, 2), l.data() + 9);
    EXPECT_EQ(l, (Bytes {1, 5, 4, 3, 2, 9, 8, 7, 6}));

    Bytes ll = counting(17);
    EXPECT_EQ(PSwapLongLong(ll.data(), 2), ll.data() + 16);
    EXPECT_EQ(ll, (Bytes {8, 7, 6, 5, 4, 3, 2, 1, 16, 15, 14, 13, 12, 11, 10, 9, 17}));

    Bytes from = counting(8);
    Bytes to(9, 0);
    PSwapCopyLong(to.data(), from.data(), 2);
    EXPECT_EQ(to, (Bytes {4, 3, 2, 1, 8, 7, 6, 5, 0}));
    SwapLong(to.data() + 4);
    EXPECT_EQ(to, (Bytes {4, 3, 2, 1, 5, 6, 7, 8, 0}));
}

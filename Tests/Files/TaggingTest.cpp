// Loop-tagging records and beat markers: which bytes each swapper reverses, and that
// each swap undoes itself (or its partner, for the transients chunk).
#include <Pavo/PavoCore.h>

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

std::vector<uint8_t> ramp(size_t n)
{
    std::vector<uint8_t> b(n);
    for (size_t i = 0; i < n; ++i)
        b[i] = uint8_t(i * 7 + 1);
    return b;
}

// True when bytes [at, at + width) of `after` are those of `before` reversed.
bool reversed(const std::vector<uint8_t>& before, const std::vector<uint8_t>& after, size_t at, size_t width)
{
    for (size_t k = 0; k < width; ++k)
        if (after[at + k] != before[at + width - 1 - k])
            return false;
    return true;
}

TEST(Tagging, CategoryChunkSwapsItsFieldsAndLeavesTheText)
{
    const auto before = ramp(sizeof(tagging::CategoryChunk));
    auto bytes = before;
    tagging::SwapCategoryChunkToBig(reinterpret_cast<tagging::CategoryChunk*>(bytes.data()));
    EXPECT_TRUE(reversed(before, bytes, 0, 4));
    EXPECT_TRUE(std::equal(before.begin() + 4, before.begin() + 154, bytes.begin() + 4));
    for (size_t at = 154; at < 218; at += 4)
        EXPECT_TRUE(reversed(before, bytes, at, 4)) << at;
    EXPECT_TRUE(reversed(before, bytes, 218, 2));
    EXPECT_TRUE(reversed(before, bytes, 220, 2));
    tagging::SwapCategoryChunkToBig(reinterpret_cast<tagging::CategoryChunk*>(bytes.data()));
    EXPECT_EQ(bytes, before);
}

TEST(Tagging, BasicTaggingChunkSwapsEveryField)
{
    const auto before = ramp(sizeof(tagging::BasicTaggingChunk) + 4);
    auto bytes = before;
    tagging::SwapBasicTaggingChunkToBig(reinterpret_cast<tagging::BasicTaggingChunk*>(bytes.data()));
    EXPECT_TRUE(reversed(before, bytes, 0, 4));
    EXPECT_TRUE(reversed(before, bytes, 4, 4));
    for (size_t at = 8; at < 18; at += 2)
        EXPECT_TRUE(reversed(before, bytes, at, 2)) << at;
    for (size_t at = 18; at < 82; at += 4)
        EXPECT_TRUE(reversed(before, bytes, at, 4)) << at;
    EXPECT_TRUE(std::equal(before.begin() + 82, before.end(), bytes.begin() + 82)); // nothing past the record
}

TEST(Tagging, TransientsSwapExactlyCountRecordsEachWay)
{
    std::vector<uint8_t> host = ramp(76 + 3 * 24);
    const uint32_t count = 2;
    std::memcpy(host.data() + 72, &count, 4);
    auto bytes = host;
    tagging::SwapBasicTransientsChunkToBig(reinterpret_cast<tagging::TransientsChunk*>(bytes.data()));
    for (size_t at = 0; at < 8; at += 2)
        EXPECT_TRUE(reversed(host, bytes, at, 2));
    for (size_t at = 8; at < 76; at += 4)
        EXPECT_TRUE(reversed(host, bytes, at, 4)) << at;
    for (size_t r = 0; r < 2; ++r) {
        const size_t base = 76 + 24 * r;
        EXPECT_TRUE(reversed(host, bytes, base, 2));
        EXPECT_TRUE(reversed(host, bytes, base + 2, 2));
        for (size_t at = base + 4; at < base + 24; at += 4)
            EXPECT_TRUE(reversed(host, bytes, at, 4)) << at;
    }
    // The third record is beyond `count` and stays as it was.
    EXPECT_TRUE(std::equal(host.begin() + 124, host.end(), bytes.begin() + 124));
    tagging::SwapBasicTransientsChunkToHost(reinterpret_cast<tagging::TransientsChunk*>(bytes.data()));
    EXPECT_EQ(bytes, host);
}

TEST(Tagging, BeatMarkerBlocks)
{
    // Exactly the header: only its three values are swapped.
    const auto header = ramp(1024);
    auto bytes = header;
    SwapBeatMarkerCallback(bytes.data(), 1024, 1);
    for (size_t at = 0; at < 12; at += 4)
        EXPECT_TRUE(reversed(header, bytes, at, 4));
    EXPECT_TRUE(std::equal(header.begin() + 12, header.end(), bytes.begin() + 12));

    // One marker and 8 trailing bytes.
    const auto before = ramp(1024 + 40);
    bytes = before;
    SwapBeatMarkerCallback(bytes.data(), int32_t(bytes.size()), 0);
    EXPECT_TRUE(reversed(before, bytes, 1024, 8));
    for (size_t at = 1032; at < 1056; at += 4)
        EXPECT_TRUE(reversed(before, bytes, at, 4)) << at;
    EXPECT_TRUE(std::equal(before.begin() + 1056, before.end(), bytes.begin() + 1056));
    SwapBeatMarkerCallback(bytes.data(), int32_t(bytes.size()), 1);
    EXPECT_EQ(bytes, before);

    BeatMarker m {};
    m.position = 0x0102030405060708;
    std::memcpy(bytes.data() + 1024, &m, sizeof m);
    SwapBeatMarkerCallback(bytes.data(), int32_t(bytes.size()), 1);
    BeatMarker swapped;
    std::memcpy(&swapped, bytes.data() + 1024, sizeof swapped);
    EXPECT_EQ(uint64_t(swapped.position), 0x0807060504030201u);
    TestBeatMarkers(bytes.data(), int32_t(bytes.size()), &swapped, 1); // checks nothing, changes nothing
    std::memcpy(&m, bytes.data() + 1024, sizeof m);
    EXPECT_EQ(std::memcmp(&m, &swapped, sizeof m), 0);

    // A block shorter than its header: only what fits of the header is touched.
    std::vector<uint8_t> shortBlock = ramp(6);
    const auto shortBefore = shortBlock;
    SwapBeatMarkerCallback(shortBlock.data(), 6, 1);
    EXPECT_TRUE(reversed(shortBefore, shortBlock, 0, 4));
    EXPECT_EQ(shortBlock[4], shortBefore[4]);

    uint32_t v = 0x11223344;
    handle_byte_order_int32(&v, 0);
    EXPECT_EQ(v, 0x44332211u);
    float f = 1.0f;
    handle_byte_order_float(&f, 1);
    uint32_t bits;
    std::memcpy(&bits, &f, 4);
    EXPECT_EQ(bits, 0x0000803Fu);
    EXPECT_EQ(CFSwapInt64(0x0102030405060708u), 0x0807060504030201u);
}

} // namespace

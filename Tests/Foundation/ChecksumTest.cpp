#include <Pavo/PavoCore.h>

#include <gtest/gtest.h>
#include <zlib.h>

#include <random>
#include <string>
#include <vector>

TEST(Checksum, Crc16CheckValues)
{
    EXPECT_EQ(PVCRC16("123456789"), 0xE5CC);
    EXPECT_EQ(PVCRC16(""), 0x1D0F);
    EXPECT_EQ(PVCRC16("A"), 0x9479); // CRC-16/AUG-CCITT of a single "A"
    // Bytes with the top bit set are taken as unsigned.
    EXPECT_NE(PVCRC16("\xE9"), PVCRC16("i"));
    // The largest text the 16-bit index allows still ends.
    std::string longest(65535, 'x');
    EXPECT_NE(PVCRC16(longest.c_str()), PVCRC16(longest.c_str() + 1));
}

TEST(Checksum, Crc32CheckValueAndNullData)
{
    const auto* digits = reinterpret_cast<const unsigned char*>("123456789");
    EXPECT_EQ(PVCRC32(0, digits, 9), 0xCBF43926u);
    EXPECT_EQ(PVCRC32(0x12345678, nullptr, 100), 0u);
}

TEST(Checksum, Crc32AgreesWithZlibOnAnyLengthOffsetAndSplit)
{
    std::mt19937 rng(1234);
    std::vector<unsigned char> data(70000);
    for (auto& b : data)
        b = static_cast<unsigned char>(rng());
    // Every length around the thresholds of the table, 128-bit and 512-bit folding paths,
    // at several alignments, from several seeds.
    for (size_t length = 0; length <= 1400; length += (length >= 300 && length < 960) ? 37 : 1) {
        for (size_t offset = 0; offset < 16; offset += 5) {
            const unsigned char* p = data.data() + offset;
            for (uint32_t seed : {0u, 0xFFFFFFFFu, 0xCBF43926u}) {
                ASSERT_EQ(PVCRC32(seed, p, uint32_t(length)), uint32_t(crc32(seed, p, uInt(length))))
                    << "length " << length << " offset " << offset << " seed " << seed;
            }
        }
    }
    // Long buffers, split anywhere, give the one-piece value.
    const uint32_t whole = PVCRC32(0, data.data(), uint32_t(data.size()));
    EXPECT_EQ(whole, uint32_t(crc32(0, data.data(), uInt(data.size()))));
    for (size_t split : {size_t(1), size_t(63), size_t(64), size_t(4097), size_t(69999)}) {
        uint32_t first = PVCRC32(0, data.data(), uint32_t(split));
        EXPECT_EQ(PVCRC32(first, data.data() + split, uint32_t(data.size() - split)), whole) << split;
    }
    // All-zero and all-ones buffers exercise the folding with degenerate lanes.
    for (unsigned char fill : {0x00, 0xFF}) {
        std::vector<unsigned char> flat(5000, fill);
        EXPECT_EQ(PVCRC32(7, flat.data(), 5000), uint32_t(crc32(7, flat.data(), 5000)));
    }
}

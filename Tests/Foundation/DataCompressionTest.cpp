#include <Pavo/PavoCore.h>

#include <gtest/gtest.h>
#include <zlib.h>

#include <random>

namespace {

QByteArray randomBytes(qsizetype n, unsigned seed)
{
    std::mt19937 rng(seed);
    QByteArray b(n, Qt::Uninitialized);
    for (auto& c : b)
        c = char(rng());
    return b;
}

} // namespace

TEST(DataCompression, EmptyInputs)
{
    EXPECT_TRUE(compressedData(QByteArray()).isNull());
    EXPECT_TRUE(compressedData(QByteArray("")).isNull());
    const QByteArray empty("");
    const QByteArray back = decompressedData(empty);
    EXPECT_FALSE(back.isNull());
    EXPECT_TRUE(back.isEmpty());
}

TEST(DataCompression, RoundTripsAndIsAZlibStream)
{
    for (qsizetype n : {1, 2, 100, 65536, 1000003}) {
        const QByteArray data = randomBytes(n, unsigned(n));
        const QByteArray packed = compressedData(data);
        ASSERT_FALSE(packed.isNull()) << n;
        // Incompressible data stays within the 0.1 % + 12 bytes of the buffer.
        EXPECT_LE(double(packed.size()), double(n) * 1.001 + 12.0);
        EXPECT_EQ(decompressedData(packed), data) << n;
        // zlib itself reads it.
        QByteArray viaZlib(n, Qt::Uninitialized);
        uLongf size = uLongf(n);
        ASSERT_EQ(uncompress(reinterpret_cast<Bytef*>(viaZlib.data()), &size,
                      reinterpret_cast<const Bytef*>(packed.constData()), uLong(packed.size())),
            Z_OK);
        EXPECT_EQ(viaZlib, data);
    }
    // Highly compressible megabytes need many growth steps of the output.
    QByteArray big(8 << 20, 'a');
    for (qsizetype i = 0; i < big.size(); i += 4099)
        big[i] = char(i);
    const QByteArray packed = compressedData(big);
    EXPECT_LT(packed.size(), big.size() / 50);
    EXPECT_EQ(decompressedData(packed), big);
}

TEST(DataCompression, BadStreamsGiveNull)
{
    const QByteArray data = QByteArray("the same words again and again, ").repeated(200);
    const QByteArray packed = compressedData(data);
    // Cut anywhere before the end, including inside the Adler-32 trailer.
    for (qsizetype cut : {qsizetype(1), qsizetype(2), qsizetype(10), packed.size() / 2, packed.size() - 1})
        EXPECT_TRUE(decompressedData(packed.left(cut)).isNull()) << cut;
    // Trailing bytes after a complete stream are ignored.
    EXPECT_EQ(decompressedData(packed + "junk"), data);

    // Raw deflate without the zlib header.
    z_stream s {};
    ASSERT_EQ(deflateInit2(&s, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY), Z_OK);
    QByteArray raw(4096, Qt::Uninitialized);
    s.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.constData()));
    s.avail_in = uInt(data.size());
    s.next_out = reinterpret_cast<Bytef*>(raw.data());
    s.avail_out = uInt(raw.size());
    ASSERT_EQ(deflate(&s, Z_FINISH), Z_STREAM_END);
    raw.truncate(qsizetype(s.total_out));
    deflateEnd(&s);
    EXPECT_TRUE(decompressedData(raw).isNull());

    // A corrupted byte inside the stream or its checksum.
    QByteArray flipped = packed;
    flipped[packed.size() - 2] = char(flipped[packed.size() - 2] ^ 0x40);
    EXPECT_TRUE(decompressedData(flipped).isNull());
    EXPECT_TRUE(decompressedData(QByteArray("\x78\x9C\xFF\xFF\xFF\xFF\xFF\xFF", 8)).isNull());

    // One byte never expands, whatever it is.
    for (int b = 0; b < 256; ++b)
        EXPECT_TRUE(decompressedData(QByteArray(1, char(b))).isNull()) << b;
}

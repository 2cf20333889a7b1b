// The audio file service through its public calls: every container and sample format
// written and read back, recognition by content, canonical byte order, user data, RF64
// growth, Sound Designer II forks, and damaged headers.
#include "AudioFileMaker.h"

#include <Pavo/PavoCore.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <tuple>
#include <vector>

namespace {

// Deterministic sample bytes of `frames` frames in the presented order.
std::vector<uint8_t> pattern(uint32_t bytesPerFrame, uint32_t frames)
{
    std::vector<uint8_t> out(size_t(bytesPerFrame) * frames);
    std::minstd_rand rng(12345);
    for (auto& b : out)
        b = uint8_t(rng() >> 8);
    return out;
}

// All `packets` packets from the start, read in one call that must deliver them all.
std::vector<uint8_t> readAll(AudioFileID f, uint32_t packets, uint32_t bytesPerPacket)
{
    std::vector<uint8_t> out(size_t(packets) * bytesPerPacket);
    uint32_t n = packets;
    EXPECT_EQ(AudioFileReadPackets(f, true, nullptr, nullptr, 0, &n, out.data()), noErr);
    EXPECT_EQ(n, packets);
    return out;
}

// The payload of one user data chunk, or "<error N>".
std::string userData(AudioFileID f, uint32_t id, uint32_t index)
{
    uint32_t size = 0;
    OSStatus err = AudioFileGetUserDataSize(f, id, index, &size);
    std::string out(size, '\0');
    if (err == noErr)
        err = AudioFileGetUserData(f, id, index, &size, out.data());
    return err == noErr ? out.substr(0, size) : "<error " + std::to_string(err) + ">";
}

QByteArray fileBytes(const QString& path, qint64 limit = -1)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return limit < 0 ? file.readAll() : file.read(limit);
}

void putFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

class AudioFileFormats : public ::testing::Test {
protected:
    QTemporaryDir dir;
    std::string path(const std::string& name) const
    {
        return dir.filePath(QString::fromStdString(name)).toStdString();
    }
};

TEST_F(AudioFileFormats, EveryContainerAndSampleFormatRoundTripsInCanonicalOrder)
{
    const AudioFileTypeID aiff = kAudioFileAIFFType, aifc = kAudioFileAIFCType, wave = kAudioFileWAVEType,
                          caf = kAudioFileCAFType, sd2 = kAudioFileSoundDesigner2Type;
    // Type, bits, float, big-endian (the stored order asked for where the container has a
    // choice), channels.
    const std::tuple<AudioFileTypeID, uint32_t, bool, bool, uint32_t> cases[]
        = {{aiff, 8, false, true, 1}, {aiff, 16, false, true, 2}, {aiff, 24, false, true, 2},
            {aiff, 32, false, true, 1}, {aiff, 20, false, true, 2}, {aiff, 32, true, true, 2}, // AIFF
            {aifc, 16, false, false, 2}, {aifc, 24, false, false, 3}, {aifc, 32, false, false, 1},
            {aifc, 64, true, true, 1}, // AIFC
            {wave, 8, false, false, 1}, {wave, 16, false, false, 2}, {wave, 24, false, false, 2},
            {wave, 32, false, false, 6}, {wave, 20, false, false, 2}, {wave, 32, true, false, 2},
            {wave, 64, true, false, 1}, // WAVE
            {caf, 16, false, true, 2}, {caf, 24, false, false, 2}, {caf, 32, false, false, 1},
            {caf, 32, true, false, 2}, {caf, 64, true, true, 1}, // CAF
            {sd2, 16, false, true, 2}, {sd2, 24, false, true, 1}, {sd2, 8, false, true, 2}};
    int n = 0;
    for (const auto& [asked, bits, isFloat, bigEndian, channels] : cases) {
        SCOPED_TRACE(testing::Message() << "case " << n << " bits " << bits << " channels " << channels);
        const std::string file = path(std::to_string(n++));
        const AudioStreamBasicDescription in = pcmFormat(48000, channels, bits, isFloat, bigEndian);
        AudioFileID f = nullptr;
        ASSERT_EQ(AudioFileCreatePath(file.c_str(), asked, &in, 0, &f), noErr);
        const uint32_t bpf = in.mBytesPerFrame;
        const std::vector<uint8_t> data = pattern(bpf, 777);
        // Written in two pieces, the second one first, so that the data grows twice.
        uint32_t count = 500;
        ASSERT_EQ(AudioFileWritePackets(f, true, 0, nullptr, 277, &count, data.data() + 277 * bpf), noErr);
        count = 277;
        ASSERT_EQ(AudioFileWritePackets(f, true, 0, nullptr, 0, &count, data.data()), noErr);
        ASSERT_EQ(AudioFileClose(f), noErr);

        ASSERT_EQ(AudioFileOpenPath(file.c_str(), kAudioFileReadPermission, 0, &f), noErr);
        const auto fmt = property<AudioStreamBasicDescription>(f, kAudioFilePropertyDataFormat);
        const auto type = property<AudioFileTypeID>(f, kAudioFilePropertyFileFormat);
        // The shape written; presented big-endian unless the type is 'WAVE' (8-bit samples
        // have no order).
        EXPECT_EQ(bool(fmt.mFormatFlags & kAudioFormatFlagIsFloat), isFloat);
        if (bits > 8) {
            EXPECT_EQ(bool(fmt.mFormatFlags & kAudioFormatFlagIsBigEndian), type != wave);
        }
        AudioStreamBasicDescription want = in;
        want.mFormatFlags = fmt.mFormatFlags;
        EXPECT_EQ(std::memcmp(&fmt, &want, sizeof fmt), 0);
        // Floats and little-endian integers need 'AIFC'.
        EXPECT_EQ(type, asked == aiff && (isFloat || !bigEndian) ? aifc : asked);
        EXPECT_EQ(property<uint64_t>(f, kAudioFilePropertyAudioDataByteCount), data.size());
        EXPECT_EQ(property<uint64_t>(f, kAudioFilePropertyAudioDataPacketCount), 777u);
        EXPECT_EQ(readAll(f, 777, bpf), data);

        // The stored order: reversed per sample exactly when the container keeps the
        // other order than the one presented.
        const uint64_t offset = property<uint64_t>(f, kAudioFilePropertyDataOffset);
        QByteArray stored(reinterpret_cast<const char*>(data.data()), qsizetype(data.size()));
        const uint32_t w = bpf / channels;
        if (asked != wave && !bigEndian && !(asked == aifc && isFloat))
            for (qsizetype i = 0; i < stored.size(); i += w)
                std::reverse(stored.begin() + i, stored.begin() + i + w);
        EXPECT_EQ(fileBytes(QString::fromStdString(file)).mid(qsizetype(offset), stored.size()), stored);
        AudioFileClose(f);
    }
}

// Content decides the type, not the name; what cannot be opened, created or done says so.
TEST_F(AudioFileFormats, OpeningCreatingAndRefusals)
{
    const std::string wav = path("really-a-wave.aif");
    AudioFileID f = nullptr;
    const auto fmt = pcmFormat(44100, 2, 16, false, false), big16 = pcmFormat(44100, 2, 16, false, true);
    ASSERT_EQ(AudioFileCreatePath(wav.c_str(), kAudioFileWAVEType, &fmt, 0, &f), noErr);
    AudioFileClose(f);
    ASSERT_EQ(AudioFileOpenPath(wav.c_str(), kAudioFileReadPermission, kAudioFileAIFFType, &f), noErr);
    EXPECT_EQ(property<AudioFileTypeID>(f, kAudioFilePropertyFileFormat), kAudioFileWAVEType);
    AudioFileClose(f);

    const std::string text = path("notes.wav");
    putFile(QString::fromStdString(text), "just some text, not audio at all");
    EXPECT_EQ(
        AudioFileOpenPath(text.c_str(), kAudioFileReadPermission, 0, &f), kAudioFileUnsupportedFileTypeError);
    EXPECT_EQ(f, nullptr);
    EXPECT_EQ(AudioFileOpenPath(path("missing.wav").c_str(), kAudioFileReadPermission, 0, &f), fnfErr);
    EXPECT_EQ(
        AudioFileOpenPath(dir.path().toUtf8().constData(), kAudioFileReadPermission, 0, &f), notAFileErr);
    // Creating over an existing file needs the erase flag.
    EXPECT_EQ(AudioFileCreatePath(wav.c_str(), kAudioFileWAVEType, &fmt, 0, &f), dupFNErr);
    ASSERT_EQ(
        AudioFileCreatePath(wav.c_str(), kAudioFileCAFType, &fmt, kAudioFileFlags_EraseFile, &f), noErr);
    AudioFileClose(f);

    // Big-endian WAVE, no channels, 24-bit floats, floats in Sound Designer II.
    const std::pair<AudioFileTypeID, AudioStreamBasicDescription> refused[]
        = {{kAudioFileWAVEType, big16}, {kAudioFileAIFFType, pcmFormat(44100, 0, 16, false, true)},
            {kAudioFileCAFType, pcmFormat(44100, 1, 24, true, true)},
            {kAudioFileSoundDesigner2Type, pcmFormat(44100, 1, 32, true, true)}};
    for (const auto& [type, format] : refused)
        EXPECT_EQ(AudioFileCreatePath(path("a").c_str(), type, &format, 0, &f),
            kAudioFileUnsupportedDataFormatError)
            << type;
    EXPECT_EQ(AudioFileCreatePath(path("e").c_str(), PvFourCC("MPG3"), &big16, 0, &f),
        kAudioFileUnsupportedFileTypeError);
    EXPECT_FALSE(QFile::exists(QString::fromStdString(path("a"))));

    // A file open for reading refuses writes and edits; bad arguments are caught.
    ASSERT_EQ(AudioFileCreatePath(path("r.aif").c_str(), kAudioFileAIFFType, &big16, 0, &f), noErr);
    AudioFileClose(f);
    ASSERT_EQ(AudioFileOpenPath(path("r.aif").c_str(), kAudioFileReadPermission, 0, &f), noErr);
    uint32_t n = 1;
    const int32_t frame = 0;
    EXPECT_EQ(AudioFileWritePackets(f, true, 4, nullptr, 0, &n, &frame), kAudioFilePermissionsError);
    EXPECT_EQ(AudioFileSetUserData(f, PvFourCC("basc"), 0, 4, &frame), kAudioFilePermissionsError);
    n = 1;
    int32_t out = 0;
    EXPECT_EQ(
        AudioFileReadPackets(f, true, nullptr, nullptr, -1, &n, &out), kAudioFileInvalidPacketOffsetError);
    n = 1;
    EXPECT_EQ(AudioFileReadPackets(f, true, nullptr, nullptr, 0, &n, &out), noErr);
    EXPECT_EQ(n, 0u); // an empty file reads nothing
    uint32_t size = 2;
    AudioStreamBasicDescription d;
    EXPECT_EQ(
        AudioFileGetProperty(f, kAudioFilePropertyDataFormat, &size, &d), kAudioFileBadPropertySizeError);
    size = 8;
    EXPECT_EQ(AudioFileGetProperty(f, PvFourCC("xxxx"), &size, &d), kAudioFileUnsupportedPropertyError);
    AudioFileClose(f);
    EXPECT_EQ(AudioFileClose(nullptr), paramErr);
}

// User chunks are added, replaced and removed in every format, while the chunks that
// make up the container itself are refused as user data and never counted as such.
TEST_F(AudioFileFormats, UserDataIsAddedReplacedAndRemovedInEveryFormat)
{
    const uint32_t comm = PvFourCC("COMM"), ssnd = PvFourCC("SSND"), data = PvFourCC("data");
    const std::pair<AudioFileTypeID, std::vector<uint32_t>> types[] = {{kAudioFileAIFFType, {comm, ssnd}},
        {kAudioFileAIFCType, {comm, ssnd}}, {kAudioFileWAVEType, {PvFourCC("fmt "), data, PvFourCC("ds64")}},
        {kAudioFileCAFType, {PvFourCC("desc"), data}}, {kAudioFileSoundDesigner2Type, {}}};
    const uint32_t basc = PvFourCC("basc"), note = PvFourCC("note");
    for (const auto& [type, structural] : types) {
        SCOPED_TRACE(type);
        const std::string file = path("ud" + std::to_string(type));
        const auto fmt = pcmFormat(44100, 2, 24, false, type != kAudioFileWAVEType);
        AudioFileID f = nullptr;
        ASSERT_EQ(AudioFileCreatePath(file.c_str(), type, &fmt, 0, &f), noErr);
        for (uint32_t id : structural) {
            EXPECT_EQ(AudioFileSetUserData(f, id, 0, 4, "abcd"), kAudioFileInvalidChunkError)
                << std::hex << id;
            uint32_t none = 9;
            AudioFileCountUserData(f, id, &none);
            EXPECT_EQ(none, 0u) << std::hex << id;
        }
        const std::vector<uint8_t> audio = pattern(6, 300);
        uint32_t n = 300;
        ASSERT_EQ(AudioFileWritePackets(f, true, 0, nullptr, 0, &n, audio.data()), noErr);
        const std::string odd = "odd-sized payload"; // 17 bytes: the chunk needs a pad byte
        ASSERT_EQ(AudioFileSetUserData(f, basc, 0, uint32_t(odd.size()), odd.data()), noErr);
        ASSERT_EQ(AudioFileSetUserData(f, note, 0, 3, "one"), noErr);
        ASSERT_EQ(AudioFileSetUserData(f, note, 1, 3, "two"), noErr);
        EXPECT_EQ(AudioFileSetUserData(f, note, 5, 3, "bad"), kAudioFileInvalidChunkError);
        ASSERT_EQ(AudioFileClose(f), noErr);

        ASSERT_EQ(AudioFileOpenPath(file.c_str(), kAudioFileReadWritePermission, 0, &f), noErr);
        uint32_t count = 0, size = 0;
        ASSERT_EQ(AudioFileCountUserData(f, note, &count), noErr);
        EXPECT_EQ(count, 2u);
        EXPECT_EQ(userData(f, basc, 0), odd);
        EXPECT_EQ(userData(f, note, 1), "two");
        EXPECT_EQ(AudioFileGetUserDataSize(f, PvFourCC("none"), 0, &size), kAudioFileInvalidChunkError);

        // Replace with a longer payload, remove the first note: the second becomes index 0.
        const std::string longer(1001, 'Z');
        ASSERT_EQ(AudioFileSetUserData(f, basc, 0, uint32_t(longer.size()), longer.data()), noErr);
        ASSERT_EQ(AudioFileRemoveUserData(f, note, 0), noErr);
        EXPECT_EQ(AudioFileRemoveUserData(f, note, 3), kAudioFileInvalidChunkError);
        // The audio survives every edit, and writing goes on after them.
        n = 10;
        ASSERT_EQ(AudioFileWritePackets(f, true, 0, nullptr, 300, &n, audio.data()), noErr);
        ASSERT_EQ(AudioFileClose(f), noErr);

        ASSERT_EQ(AudioFileOpenPath(file.c_str(), kAudioFileReadPermission, 0, &f), noErr);
        EXPECT_EQ(userData(f, basc, 0), longer);
        ASSERT_EQ(AudioFileCountUserData(f, note, &count), noErr);
        EXPECT_EQ(count, 1u);
        EXPECT_EQ(userData(f, note, 0), "two");
        std::vector<uint8_t> expect = audio;
        expect.insert(expect.end(), audio.begin(), audio.begin() + 60);
        EXPECT_EQ(property<uint64_t>(f, kAudioFilePropertyAudioDataPacketCount), 310u);
        EXPECT_EQ(readAll(f, 310, 6), expect);
        AudioFileClose(f);
    }
}

TEST_F(AudioFileFormats, ByteWritesOffSampleBoundariesLandInTheRightPlace)
{
    // 24-bit little-endian CAF: presented big-endian, so every byte moves on the way down.
    const std::string file = path("bytes.caf");
    const auto fmt = pcmFormat(44100, 1, 24, false, false);
    AudioFileID f = nullptr;
    ASSERT_EQ(AudioFileCreatePath(file.c_str(), kAudioFileCAFType, &fmt, 0, &f), noErr);
    uint32_t n = 9;
    ASSERT_EQ(AudioFileWriteBytes(f, true, 0, &n, "\x01\x02\x03\x04\x05\x06\x07\x08\x09"), noErr);
    n = 4;
    ASSERT_EQ(AudioFileWriteBytes(f, true, 2, &n, "\x0A\x0B\x0C\x0D"), noErr); // bytes 2..5
    char back[9] = {};
    n = 9;
    ASSERT_EQ(AudioFileReadBytes(f, true, 0, &n, back), noErr);
    EXPECT_EQ(QByteArray(back, 9), QByteArray("\x01\x02\x0A\x0B\x0C\x0D\x07\x08\x09", 9));
    n = 3;
    ASSERT_EQ(AudioFileReadBytes(f, true, 4, &n, back), noErr);
    EXPECT_EQ(QByteArray(back, 3), QByteArray("\x0C\x0D\x07", 3));
    n = 1;
    EXPECT_EQ(AudioFileReadBytes(f, true, 9, &n, back), kAudioFileEndOfFileError);
    AudioFileClose(f);
    EXPECT_EQ(fileBytes(QString::fromStdString(file)).right(9),
        QByteArray("\x0A\x02\x01\x0D\x0C\x0B\x09\x08\x07", 9));
}

TEST_F(AudioFileFormats, WaveGrowsIntoRF64PastFourGigabytes)
{
    const std::string file = path("big.wav");
    const auto fmt = pcmFormat(48000, 2, 16, false, false);
    AudioFileID f = nullptr;
    ASSERT_EQ(AudioFileCreatePath(file.c_str(), kAudioFileWAVEType, &fmt, 0, &f), noErr);
    // One frame just past 4 GiB of data: the gap stays a hole in a sparse file.
    const int64_t frame = int64_t((uint64_t(1) << 32) / 4) + 10;
    const uint8_t sample[4] = {1, 2, 3, 4};
    uint32_t n = 1;
    ASSERT_EQ(AudioFileWritePackets(f, true, 0, nullptr, frame, &n, sample), noErr);
    ASSERT_EQ(AudioFileClose(f), noErr);
    const QByteArray head = fileBytes(QString::fromStdString(file), 80);
    EXPECT_EQ(head.left(4), "RF64");
    EXPECT_EQ(head.mid(12, 4), "ds64");

    ASSERT_EQ(AudioFileOpenPath(file.c_str(), kAudioFileReadPermission, 0, &f), noErr);
    EXPECT_EQ(property<AudioFileTypeID>(f, kAudioFilePropertyFileFormat), kAudioFileWAVEType);
    EXPECT_EQ(property<uint64_t>(f, kAudioFilePropertyAudioDataPacketCount), uint64_t(frame) + 1);
    char back[8] = {9, 9, 9, 9, 9, 9, 9, 9};
    n = 2;
    ASSERT_EQ(AudioFileReadPackets(f, true, nullptr, nullptr, frame - 1, &n, back), noErr);
    EXPECT_EQ(n, 2u);
    EXPECT_EQ(QByteArray(back, 8), QByteArray("\0\0\0\0\x01\x02\x03\x04", 8));
    AudioFileClose(f);

    // AIFF cannot say sizes past 4 GiB: the write is refused and the file stays as it was.
    const std::string aif = path("big.aif");
    ASSERT_EQ(AudioFileCreatePath(aif.c_str(), kAudioFileAIFFType, &fmt, 0, &f), noErr);
    n = 1;
    EXPECT_EQ(AudioFileWritePackets(f, true, 0, nullptr, frame, &n, sample),
        kAudioFileDoesNotAllow64BitDataSizeError);
    EXPECT_EQ(AudioFileClose(f), noErr);
    struct stat st { };
    ASSERT_EQ(::stat(aif.c_str(), &st), 0);
    EXPECT_LT(st.st_size, 200);
}

TEST_F(AudioFileFormats, SoundDesignerForkInAttributeOrAppleDouble)
{
    const std::string file = path("take.sd2");
    const auto fmt = pcmFormat(44100, 2, 16, false, true);
    AudioFileID f = nullptr;
    ASSERT_EQ(AudioFileCreatePath(file.c_str(), kAudioFileSoundDesigner2Type, &fmt, 0, &f), noErr);
    const auto audio = pattern(4, 100);
    uint32_t n = 100;
    ASSERT_EQ(AudioFileWritePackets(f, true, 0, nullptr, 0, &n, audio.data()), noErr);
    ASSERT_EQ(AudioFileSetUserData(f, PvFourCC("basc"), 0, 5, "loops"), noErr);
    AudioFileClose(f);
    // The data fork is the samples alone.
    EXPECT_EQ(fileBytes(QString::fromStdString(file)),
        QByteArray(reinterpret_cast<const char*>(audio.data()), 400));

    // Move the fork from wherever it went into an AppleDouble file that holds it, as a
    // copy from a Mac volume carries it, and open again.
    const QString sidecar = dir.filePath("._take.sd2");
    const bool hadSidecar = QFile::exists(sidecar);
    ASSERT_NE(forkToAppleDouble(file), hadSidecar); // the fork was in exactly one of the two places
    ASSERT_TRUE(QFile::exists(sidecar));
    ASSERT_EQ(AudioFileOpenPath(file.c_str(), kAudioFileReadWritePermission, 0, &f), noErr);
    EXPECT_EQ(property<AudioFileTypeID>(f, kAudioFilePropertyFileFormat), kAudioFileSoundDesigner2Type);
    EXPECT_EQ(readAll(f, 100, 4), audio);
    EXPECT_EQ(userData(f, PvFourCC("basc"), 0), "loops");
    // An edit now rewrites the AppleDouble file.
    ASSERT_EQ(AudioFileSetUserData(f, PvFourCC("basc"), 0, 6, "loops2"), noErr);
    AudioFileClose(f);
    ASSERT_EQ(AudioFileOpenPath(file.c_str(), kAudioFileReadPermission, 0, &f), noErr);
    EXPECT_EQ(userData(f, PvFourCC("basc"), 0), "loops2");
    AudioFileClose(f);
    // Without its fork, a data fork is just bytes.
    ASSERT_TRUE(QFile::remove(sidecar));
    ::removexattr(file.c_str(), "user.com.apple.ResourceFork");
    EXPECT_EQ(
        AudioFileOpenPath(file.c_str(), kAudioFileReadPermission, 0, &f), kAudioFileUnsupportedFileTypeError);
}

// Damaged files are made of these.
QByteArray le(uint32_t v, int bytes)
{
    QByteArray b;
    for (int k = 0; k < bytes; ++k)
        b.append(char(v >> 8 * k));
    return b;
}
QByteArray be(uint32_t v, int bytes)
{
    QByteArray b = le(v, bytes);
    std::reverse(b.begin(), b.end());
    return b;
}

QByteArray waveFmt(uint16_t tag, uint16_t channels, uint16_t align, uint16_t bits)
{
    return QByteArray("fmt ") + le(16, 4) + le(tag, 2) + le(channels, 2) + le(44100, 4)
        + le(44100u * align, 4) + le(align, 2) + le(bits, 2);
}

QByteArray aiffComm(uint16_t channels, uint32_t frames, uint16_t bits)
{
    // 44100 Hz as an 80-bit extended value.
    const QByteArray rate("\x40\x0E\xAC\x44\x00\x00\x00\x00\x00\x00", 10);
    return QByteArray("COMM") + be(18, 4) + be(channels, 2) + be(frames, 4) + be(bits, 2) + rate;
}

TEST_F(AudioFileFormats, DamagedHeadersGiveErrorsNotCrashes)
{
    const auto wave = [](const QByteArray& fmt, const QByteArray& rest) {
        return QByteArray("RIFF") + le(0, 4) + "WAVE" + fmt + rest;
    };
    const auto aiff = [](const QByteArray& body) { return QByteArray("FORM") + be(0, 4) + "AIFF" + body; };
    const QByteArray goodWave = QByteArray("RIFF") + le(36 + 8, 4) + "WAVE" + waveFmt(1, 2, 4, 16) + "data"
        + le(8, 4) + QByteArray(8, '\x01');
    const QByteArray goodAiff
        = aiff(aiffComm(1, 4, 16) + "SSND" + be(16, 4) + be(0, 4) + be(0, 4) + QByteArray(8, '\x02'));
    const QByteArray goodCaf = QByteArray("caff") + be(1, 2) + be(0, 2) + "desc" + be(0, 4) + be(32, 4)
        + QByteArray("\x40\xE5\x88\x80\x00\x00\x00\x00", 8) + "lpcm" + be(0, 4) + be(4, 4) + be(1, 4)
        + be(2, 4) + be(16, 4) + "data" + be(0, 4) + be(12, 4) + be(0, 4) + QByteArray(8, '\x03');
    const OSStatus invalid = kAudioFileInvalidFileError;
    const std::tuple<const char*, QByteArray, OSStatus> bad[] = {
        {"empty", QByteArray(), kAudioFileUnsupportedFileTypeError},
        {"wave header only", goodWave.left(12), invalid},
        {"wave fmt cut", goodWave.left(30), invalid},
        {"wave zero channels", wave(waveFmt(1, 0, 4, 16), "data" + le(0, 4)), invalid},
        {"wave absurd sample size", wave(waveFmt(1, 1, 9, 72), "data" + le(0, 4)), invalid},
        {"wave bits beyond container", wave(waveFmt(1, 1, 2, 24), "data" + le(0, 4)), invalid},
        {"wave chunk past end", wave(waveFmt(1, 1, 2, 16), "LIST" + le(9999, 4)), invalid},
        {"rf64 without ds64",
            QByteArray("RF64") + le(~0u, 4) + "WAVE" + waveFmt(1, 1, 2, 16) + "data" + le(~0u, 4), invalid},
        {"aiff without COMM", QByteArray("FORM") + be(4, 4) + "AIFF", invalid},
        {"aiff zero channels", aiff(aiffComm(0, 0, 16)), invalid},
        {"aiff 40-bit", aiff(aiffComm(1, 0, 40)), invalid},
        {"aiff SSND offset past end",
            goodAiff.left(goodAiff.size() - 16) + be(16, 4) + be(0xFFFF, 4) + be(0, 4), invalid},
        {"aiff frames without SSND", aiff(aiffComm(1, 100, 16)), invalid},
        {"caf bad version", QByteArray("caff") + be(2, 2) + be(0, 2), kAudioFileUnsupportedFileTypeError},
        {"caf data before desc",
            QByteArray("caff") + be(1, 2) + be(0, 2) + "data" + be(~0u, 4) + be(~0u, 4) + be(0, 4), invalid},
        {"caf negative size", goodCaf.left(8) + "desc" + be(0x80000000u, 4) + be(0, 4), invalid},
        {"caf zero channels", goodCaf.left(48) + be(0, 4) + goodCaf.mid(52), invalid},
        {"caf packet size not a multiple of channels", goodCaf.left(40) + be(3, 4) + goodCaf.mid(44),
            invalid},
        {"caf chunk past end", goodCaf + "info" + be(1, 4) + be(0, 4), invalid},
    };
    const QString file = QString::fromStdString(path("bad"));
    for (const auto& [what, bytes, expect] : bad) {
        putFile(file, bytes);
        AudioFileID f = nullptr;
        EXPECT_EQ(AudioFileOpenPath(file.toUtf8().constData(), kAudioFileReadPermission, 0, &f), expect)
            << what;
        EXPECT_EQ(f, nullptr) << what;
        if (f)
            AudioFileClose(f);
    }
    // The good ones open; a data chunk cut short is read up to the end of the file.
    for (const QByteArray& good : {goodWave, goodAiff, goodCaf, goodWave.left(goodWave.size() - 4)}) {
        putFile(file, good);
        AudioFileID f = nullptr;
        ASSERT_EQ(AudioFileOpenPath(file.toUtf8().constData(), kAudioFileReadPermission, 0, &f), noErr)
            << good.toHex().constData();
        EXPECT_GT(property<uint64_t>(f, kAudioFilePropertyAudioDataPacketCount), 0u);
        AudioFileClose(f);
    }
}

// The fuzz seeds are meant to be valid files of every kind: each must open and read.
TEST(AudioFileSeeds, EverySeedOpensAndReads)
{
    QTemporaryDir dir;
    const QString sd2 = dir.filePath(QStringLiteral("take.sd2")),
                  fork = dir.filePath(QStringLiteral("._take.sd2"));
    int opened = 0;
    for (const char* kind : {"aiff", "wave", "caf", "sd2"}) {
        const QDir seeds(QStringLiteral(PAVO_SOURCE_DIR "/Fuzz/corpus/audiofile_") + QString::fromUtf8(kind));
        for (const QString& seed : seeds.entryList(QDir::Files)) {
            SCOPED_TRACE(std::string(kind) + "/" + seed.toStdString());
            QString file = seeds.filePath(seed);
            if (std::string(kind) == "sd2") { // the seed is the fork beside a data fork
                putFile(sd2, QByteArray(96, '\x11'));
                QFile::remove(fork);
                ASSERT_TRUE(QFile::copy(file, fork));
                file = sd2;
            }
            AudioFileID f = nullptr;
            ASSERT_EQ(AudioFileOpenPath(file.toUtf8().constData(), kAudioFileReadPermission, 0, &f), noErr);
            const auto fmt = property<AudioStreamBasicDescription>(f, kAudioFilePropertyDataFormat);
            const auto packets = uint32_t(property<uint64_t>(f, kAudioFilePropertyAudioDataPacketCount));
            EXPECT_EQ(packets > 0, seed != QStringLiteral("aiff_empty"));
            readAll(f, packets, fmt.mBytesPerPacket);
            AudioFileClose(f);
            ++opened;
        }
    }
    EXPECT_GE(opened, 30);
}

} // namespace

// Files written by the audio file service open in libsndfile and sox with the same
// samples, files that libsndfile and sox write open here with the same samples, and
// chunks added here are seen by libsndfile's chunk reader.
#include "AudioFileMaker.h"

#include <Pavo/PavoCore.h>

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <sndfile.h>
#include <string>
#include <vector>

namespace {

// Samples of one file, each as a 32-bit integer with the sample in its top bits, or as a
// double for floating-point data.
struct Samples {
    bool isFloat = false;
    std::vector<int32_t> ints;
    std::vector<double> reals;
    bool operator==(const Samples&) const = default;
    // sox keeps samples as 32-bit integers inside: floats come back within its precision.
    bool near(const Samples& o) const
    {
        if (isFloat != o.isFloat || ints != o.ints || reals.size() != o.reals.size())
            return false;
        for (size_t i = 0; i < reals.size(); ++i)
            if (std::abs(reals[i] - o.reals[i]) > 1e-7)
                return false;
        return true;
    }
};

// Decodes presented-order bytes: little-endian for 'WAVE', big-endian otherwise.
Samples decode(const std::vector<uint8_t>& bytes, const AudioStreamBasicDescription& f, AudioFileTypeID type)
{
    Samples s;
    const uint32_t w = f.mBytesPerFrame / f.mChannelsPerFrame;
    const bool little = type == kAudioFileWAVEType;
    s.isFloat = f.mFormatFlags & kAudioFormatFlagIsFloat;
    for (size_t at = 0; at + w <= bytes.size(); at += w) {
        uint64_t v = 0;
        for (uint32_t k = 0; k < w; ++k)
            v = (v << 8) | bytes[at + (little ? w - 1 - k : k)];
        if (s.isFloat) {
            if (w == 4) {
                float x;
                const uint32_t b = uint32_t(v);
                std::memcpy(&x, &b, 4);
                s.reals.push_back(x);
            } else {
                double x;
                std::memcpy(&x, &v, 8);
                s.reals.push_back(x);
            }
        } else {
            uint32_t top = uint32_t(v << (32 - 8 * w));
            if (w == 1 && type == kAudioFileWAVEType)
                top ^= 0x80000000u; // 8-bit WAVE is unsigned
            s.ints.push_back(int32_t(top));
        }
    }
    return s;
}

Samples readHere(const std::string& path, AudioFileTypeID* typeOut = nullptr, uint32_t* channelsOut = nullptr)
{
    AudioFileID f = nullptr;
    EXPECT_EQ(AudioFileOpenPath(path.c_str(), kAudioFileReadPermission, 0, &f), noErr) << path;
    if (f == nullptr)
        return {};
    const auto fmt = property<AudioStreamBasicDescription>(f, kAudioFilePropertyDataFormat);
    const auto type = property<AudioFileTypeID>(f, kAudioFilePropertyFileFormat);
    const auto packets = property<uint64_t>(f, kAudioFilePropertyAudioDataPacketCount);
    std::vector<uint8_t> bytes(size_t(packets * fmt.mBytesPerPacket));
    uint32_t n = uint32_t(packets), got = 0;
    EXPECT_EQ(AudioFileReadPackets(f, true, &got, nullptr, 0, &n, bytes.data()), noErr);
    EXPECT_EQ(n, packets);
    AudioFileClose(f);
    if (typeOut)
        *typeOut = type;
    if (channelsOut)
        *channelsOut = fmt.mChannelsPerFrame;
    return decode(bytes, fmt, type);
}

Samples readSndfile(const std::string& path, bool isFloat, int* channels = nullptr)
{
    SF_INFO info {};
    SNDFILE* sf = sf_open(path.c_str(), SFM_READ, &info);
    EXPECT_NE(sf, nullptr) << path << ": " << sf_strerror(nullptr);
    Samples s;
    s.isFloat = isFloat;
    if (!sf)
        return s;
    if (channels)
        *channels = info.channels;
    const size_t n = size_t(info.frames * info.channels);
    if (isFloat) {
        s.reals.resize(n);
        sf_command(sf, SFC_SET_NORM_DOUBLE, nullptr, SF_FALSE);
        EXPECT_EQ(sf_read_double(sf, s.reals.data(), sf_count_t(n)), sf_count_t(n));
    } else {
        s.ints.resize(n);
        EXPECT_EQ(sf_read_int(sf, s.ints.data(), sf_count_t(n)), sf_count_t(n));
    }
    sf_close(sf);
    return s;
}

// sox's own reading of a file, as raw 32-bit little-endian integers or floats.
Samples readSox(const std::string& path, bool isFloat, const QString& tmp)
{
    Samples s;
    s.isFloat = isFloat;
    QStringList args {QString::fromStdString(path), QStringLiteral("-t"), QStringLiteral("raw"),
        QStringLiteral("-e"), isFloat ? QStringLiteral("floating-point") : QStringLiteral("signed-integer"),
        QStringLiteral("-b"), isFloat ? QStringLiteral("64") : QStringLiteral("32"), QStringLiteral("-L"),
        tmp};
    QProcess sox;
    sox.start(QStringLiteral("sox"), args);
    EXPECT_TRUE(sox.waitForFinished(30000));
    EXPECT_EQ(sox.exitCode(), 0) << sox.readAllStandardError().constData();
    QFile raw(tmp);
    if (!raw.open(QIODevice::ReadOnly))
        return s;
    const QByteArray b = raw.readAll();
    if (isFloat) {
        s.reals.resize(size_t(b.size()) / 8);
        std::memcpy(s.reals.data(), b.constData(), s.reals.size() * 8);
    } else {
        s.ints.resize(size_t(b.size()) / 4);
        std::memcpy(s.ints.data(), b.constData(), s.ints.size() * 4);
    }
    return s;
}

bool haveSox()
{
    return !QStandardPaths::findExecutable(QStringLiteral("sox")).isEmpty();
}

class AudioFilePeers : public ::testing::Test {
protected:
    QTemporaryDir dir;
    std::string path(const std::string& name) const
    {
        return dir.filePath(QString::fromStdString(name)).toStdString();
    }
};

TEST_F(AudioFilePeers, FilesWrittenHereReadTheSameInLibsndfileAndSox)
{
    struct Case {
        AudioFileTypeID type;
        const char* ext;
        uint32_t bits;
        bool isFloat;
        bool big;
    };
    const Case cases[] = {
        {kAudioFileAIFFType, "aiff", 8, false, true},
        {kAudioFileAIFFType, "aiff", 16, false, true},
        {kAudioFileAIFFType, "aiff", 24, false, true},
        {kAudioFileAIFFType, "aiff", 32, false, true},
        {kAudioFileAIFCType, "aifc", 16, false, false},
        {kAudioFileAIFCType, "aifc", 24, false, false},
        {kAudioFileAIFFType, "aifc", 32, true, true},
        {kAudioFileWAVEType, "wav", 8, false, false},
        {kAudioFileWAVEType, "wav", 16, false, false},
        {kAudioFileWAVEType, "wav", 24, false, false},
        {kAudioFileWAVEType, "wav", 32, false, false},
        {kAudioFileWAVEType, "wav", 32, true, false},
        {kAudioFileCAFType, "caf", 8, false, true},
        {kAudioFileCAFType, "caf", 16, false, true},
        {kAudioFileCAFType, "caf", 24, false, false},
        {kAudioFileCAFType, "caf", 32, false, true},
        {kAudioFileCAFType, "caf", 32, true, false},
        {kAudioFileSoundDesigner2Type, "sd2", 16, false, true},
        {kAudioFileSoundDesigner2Type, "sd2", 24, false, true},
    };
    const bool sox = haveSox();
    int index = 0;
    for (const Case& c : cases) {
        for (uint32_t channels : {1u, 2u}) {
            const std::string file = path("here" + std::to_string(index++) + "." + c.ext);
            SCOPED_TRACE(file + " bits " + std::to_string(c.bits) + (c.isFloat ? " float" : ""));
            const AudioStreamBasicDescription f = pcmFormat(44100, channels, c.bits, c.isFloat, c.big);
            AudioFileID af = nullptr;
            ASSERT_EQ(AudioFileCreatePath(file.c_str(), c.type, &f, 0, &af), noErr);
            const uint32_t w = c.bits / 8, frames = 1500;
            std::vector<uint8_t> bytes(size_t(w) * channels * frames);
            const bool little = c.type == kAudioFileWAVEType;
            for (size_t i = 0; i < bytes.size() / w; ++i) {
                // A sweep of values that stays finite when read as floats.
                uint64_t v;
                if (c.isFloat) {
                    const float x = float(std::sin(double(i) * 0.01) * 0.9);
                    uint32_t b;
                    std::memcpy(&b, &x, 4);
                    v = b;
                } else {
                    v = uint64_t(i * 2654435761u) >> 3;
                }
                for (uint32_t k = 0; k < w; ++k)
                    bytes[i * w + (little ? k : w - 1 - k)] = uint8_t(v >> (8 * k));
            }
            uint32_t n = frames;
            ASSERT_EQ(AudioFileWritePackets(af, true, 0, nullptr, 0, &n, bytes.data()), noErr);
            ASSERT_EQ(AudioFileClose(af), noErr);

            if (c.type == kAudioFileSoundDesigner2Type)
                forkToAppleDouble(file);
            const Samples here = readHere(file);
            int sfChannels = 0;
            const Samples peer = readSndfile(file, c.isFloat, &sfChannels);
            EXPECT_EQ(sfChannels, int(channels));
            EXPECT_TRUE(peer == here) << "libsndfile reads other samples";
            // sox opens CAF and Sound Designer II through libsndfile: it finds no resource
            // fork that way (not even in files libsndfile wrote), and it scales float CAF
            // data to its peak. Those two are checked with libsndfile alone.
            const bool soxCan
                = c.type != kAudioFileSoundDesigner2Type && !(c.type == kAudioFileCAFType && c.isFloat);
            if (sox && soxCan) {
                EXPECT_TRUE(readSox(file, c.isFloat, dir.filePath(QStringLiteral("sox.raw"))).near(here))
                    << "sox reads other samples";
            }
        }
    }
}

TEST_F(AudioFilePeers, FilesWrittenByLibsndfileReadTheSameHere)
{
    struct Case {
        int format;
        const char* ext;
        AudioFileTypeID expectType;
    };
    const Case cases[] = {
        {SF_FORMAT_AIFF | SF_FORMAT_PCM_16, "aiff", kAudioFileAIFFType},
        {SF_FORMAT_AIFF | SF_FORMAT_PCM_24, "aiff", kAudioFileAIFFType},
        {SF_FORMAT_AIFF | SF_FORMAT_PCM_S8, "aiff", kAudioFileAIFFType},
        {SF_FORMAT_AIFF | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE, "aifc", kAudioFileAIFCType},
        {SF_FORMAT_AIFF | SF_FORMAT_PCM_32 | SF_ENDIAN_LITTLE, "aifc", kAudioFileAIFCType},
        {SF_FORMAT_AIFF | SF_FORMAT_FLOAT, "aifc", kAudioFileAIFCType},
        {SF_FORMAT_AIFF | SF_FORMAT_DOUBLE, "aifc", kAudioFileAIFCType},
        {SF_FORMAT_WAV | SF_FORMAT_PCM_U8, "wav", kAudioFileWAVEType},
        {SF_FORMAT_WAV | SF_FORMAT_PCM_16, "wav", kAudioFileWAVEType},
        {SF_FORMAT_WAV | SF_FORMAT_PCM_24, "wav", kAudioFileWAVEType},
        {SF_FORMAT_WAV | SF_FORMAT_FLOAT, "wav", kAudioFileWAVEType},
        {SF_FORMAT_WAVEX | SF_FORMAT_PCM_24, "wav", kAudioFileWAVEType},
        {SF_FORMAT_WAVEX | SF_FORMAT_FLOAT, "wav", kAudioFileWAVEType},
        {SF_FORMAT_RF64 | SF_FORMAT_PCM_16, "rf64", kAudioFileWAVEType},
        {SF_FORMAT_CAF | SF_FORMAT_PCM_16, "caf", kAudioFileCAFType},
        {SF_FORMAT_CAF | SF_FORMAT_PCM_24 | SF_ENDIAN_LITTLE, "caf", kAudioFileCAFType},
        {SF_FORMAT_CAF | SF_FORMAT_FLOAT | SF_ENDIAN_LITTLE, "caf", kAudioFileCAFType},
        {SF_FORMAT_CAF | SF_FORMAT_PCM_32, "caf", kAudioFileCAFType},
        {SF_FORMAT_SD2 | SF_FORMAT_PCM_16, "sd2", kAudioFileSoundDesigner2Type},
        {SF_FORMAT_SD2 | SF_FORMAT_PCM_24, "sd2", kAudioFileSoundDesigner2Type},
    };
    int index = 0;
    for (const Case& c : cases) {
        for (int channels : {1, 2, 3}) {
            const std::string file = path("sf" + std::to_string(index++) + "." + c.ext);
            SCOPED_TRACE(file);
            SF_INFO info {};
            info.samplerate = 48000;
            info.channels = channels;
            info.format = c.format;
            SNDFILE* sf = sf_open(file.c_str(), SFM_WRITE, &info);
            ASSERT_NE(sf, nullptr) << sf_strerror(nullptr);
            std::vector<double> x(size_t(channels) * 1234);
            for (size_t i = 0; i < x.size(); ++i)
                x[i] = std::sin(double(i) * 0.013) * 0.95;
            sf_write_double(sf, x.data(), sf_count_t(x.size()));
            sf_close(sf);
            const int sub = c.format & SF_FORMAT_SUBMASK;
            const bool isFloat = sub == SF_FORMAT_FLOAT || sub == SF_FORMAT_DOUBLE;
            AudioFileTypeID type = 0;
            uint32_t ch = 0;
            const Samples here = readHere(file, &type, &ch);
            EXPECT_EQ(type, c.expectType);
            EXPECT_EQ(ch, uint32_t(channels));
            EXPECT_EQ(here.ints.size() + here.reals.size(), x.size());
            EXPECT_TRUE(here == readSndfile(file, isFloat)) << "other samples than libsndfile reads";
        }
    }
}

TEST_F(AudioFilePeers, FilesWrittenBySoxReadTheSameHere)
{
    if (!haveSox())
        GTEST_SKIP() << "sox is not installed";
    struct Case {
        const char* ext;
        QStringList options;
        bool isFloat;
    };
    const Case cases[] = {
        {"wav", {"-b", "16"}, false},
        {"wav", {"-b", "24"}, false},
        {"wav", {"-e", "floating-point", "-b", "32"}, true},
        {"aiff", {"-b", "16"}, false},
        {"aiff", {"-b", "24"}, false},
        {"aifc", {"-b", "16"}, false},
        {"caf", {"-b", "16"}, false},
    };
    int index = 0;
    for (const Case& c : cases) {
        const std::string file = path("sox" + std::to_string(index++) + "." + c.ext);
        SCOPED_TRACE(file);
        const QStringList args = QStringList {"-n", "-r", "44100", "-c", "2"} + c.options
            + QStringList {QString::fromStdString(file), "synth", "0.05", "sine", "440", "sine", "660"};
        QProcess sox;
        sox.start(QStringLiteral("sox"), args);
        ASSERT_TRUE(sox.waitForFinished(30000));
        ASSERT_EQ(sox.exitCode(), 0) << sox.readAllStandardError().constData();
        uint32_t channels = 0;
        const Samples here = readHere(file, nullptr, &channels);
        EXPECT_EQ(channels, 2u);
        EXPECT_GT(here.ints.size() + here.reals.size(), 4000u);
        EXPECT_TRUE(here.near(readSox(file, c.isFloat, dir.filePath(QStringLiteral("raw")))))
            << "other samples than sox";
    }
}

// Chunks added to finished files leave them readable by the peers: an odd-sized one in
// AIFF (which sox once misread in front of the data) and a 100 kB one in CAF (which
// libsndfile did), in every container that has chunks; libsndfile's chunk reader finds
// the added chunk's payload.
TEST_F(AudioFilePeers, ChunksAddedToFinishedFilesKeepThemReadableInLibsndfileAndSox)
{
    const bool sox = haveSox();
    const std::pair<AudioFileTypeID, const char*> types[] = {{kAudioFileWAVEType, "wav"},
        {kAudioFileAIFFType, "aiff"}, {kAudioFileAIFCType, "aifc"}, {kAudioFileCAFType, "caf"}};
    for (const auto& [type, ext] : types) {
        const std::string file = path(std::string("added.") + ext);
        SCOPED_TRACE(file);
        const AudioStreamBasicDescription f
            = pcmFormat(48000, 2, 16, false, type != kAudioFileWAVEType && type != kAudioFileAIFCType);
        AudioFileID af = nullptr;
        ASSERT_EQ(AudioFileCreatePath(file.c_str(), type, &f, 0, &af), noErr);
        std::vector<uint8_t> audio(4 * 1001);
        for (size_t i = 0; i < audio.size(); ++i)
            audio[i] = uint8_t(i * 13 + (i >> 7));
        uint32_t n = 1001;
        ASSERT_EQ(AudioFileWritePackets(af, true, 0, nullptr, 0, &n, audio.data()), noErr);
        ASSERT_EQ(AudioFileClose(af), noErr);
        const Samples before = readHere(file);

        ASSERT_EQ(AudioFileOpenPath(file.c_str(), kAudioFileReadWritePermission, 0, &af), noErr);
        ASSERT_EQ(AudioFileSetUserData(af, PvFourCC("odd "), 0, 7, "1234567"), noErr);
        const std::vector<uint8_t> big(100000, 0x61);
        ASSERT_EQ(AudioFileSetUserData(af, PvFourCC("big "), 0, uint32_t(big.size()), big.data()), noErr);
        const auto dataOffset = property<int64_t>(af, kAudioFilePropertyDataOffset);
        ASSERT_EQ(AudioFileClose(af), noErr);
        QFile bytes(QString::fromStdString(file));
        ASSERT_TRUE(bytes.open(QIODevice::ReadOnly));
        EXPECT_GT(bytes.readAll().indexOf("big "), dataOffset) << "the new chunks follow the data";

        EXPECT_TRUE(readHere(file) == before);
        EXPECT_TRUE(readSndfile(file, false) == before) << "other samples than libsndfile";
        if (type == kAudioFileWAVEType || type == kAudioFileAIFFType) {
            SF_INFO info {};
            SNDFILE* sf = sf_open(file.c_str(), SFM_READ, &info);
            ASSERT_NE(sf, nullptr);
            SF_CHUNK_INFO chunk {};
            std::strcpy(chunk.id, "odd ");
            chunk.id_size = 4;
            SF_CHUNK_ITERATOR* it = sf_get_chunk_iterator(sf, &chunk);
            ASSERT_NE(it, nullptr);
            SF_CHUNK_INFO got {};
            ASSERT_EQ(sf_get_chunk_size(it, &got), SF_ERR_NO_ERROR);
            ASSERT_GE(got.datalen, 7u);
            std::vector<char> data(got.datalen);
            got.data = data.data();
            ASSERT_EQ(sf_get_chunk_data(it, &got), SF_ERR_NO_ERROR);
            EXPECT_EQ(std::string(data.data(), 7), "1234567");
            sf_close(sf);
        }
        if (sox) {
            EXPECT_TRUE(readSox(file, false, dir.filePath(QStringLiteral("raw"))) == before)
                << "other samples than sox";
        }
    }
}

bool haveFfmpeg()
{
    return !QStandardPaths::findExecutable(QStringLiteral("ffmpeg")).isEmpty()
        && !QStandardPaths::findExecutable(QStringLiteral("ffprobe")).isEmpty();
}

QString run(const QString& program, const QStringList& args)
{
    QProcess p;
    p.start(program, args);
    EXPECT_TRUE(p.waitForFinished(30000));
    EXPECT_EQ(p.exitCode(), 0) << p.readAllStandardError().constData();
    return QString::fromUtf8(p.readAllStandardOutput()).trimmed();
}

// Files that ffmpeg makes: a mono LFE WAVE keeps its speaker after a chunk edit, and an
// IMA ADPCM AIFC opens with its codec named (and CAuFileIO refuses it as not PCM).
TEST_F(AudioFilePeers, FfmpegFilesKeepTheirFormatAndCodecsAreNamed)
{
    if (!haveFfmpeg())
        GTEST_SKIP() << "ffmpeg not installed";
    const QString lfe = dir.filePath("lfe.wav");
    const QStringList sine {"-v", "error", "-f", "lavfi", "-i", "sine=d=0.1"};
    run("ffmpeg", sine + QStringList {"-af", "channelmap=channel_layout=LFE", lfe});
    const QStringList probe {"-v", "error", "-show_entries", "stream=channel_layout", "-of", "csv=p=0", lfe};
    const QString layout = run("ffprobe", probe); // "LFE" or "1 channels (LFE)"
    ASSERT_TRUE(layout.contains(QStringLiteral("LFE"))) << layout.toStdString();
    AudioFileID af = nullptr;
    ASSERT_EQ(AudioFileOpenPath(lfe.toUtf8().constData(), kAudioFileReadWritePermission, 0, &af), noErr);
    ASSERT_EQ(AudioFileSetUserData(af, PvFourCC("basc"), 0, 4, "loop"), noErr);
    ASSERT_EQ(AudioFileClose(af), noErr);
    EXPECT_EQ(run("ffprobe", probe), layout);

    const QString ima = dir.filePath("ima.aifc");
    run("ffmpeg", sine + QStringList {"-c:a", "adpcm_ima_qt", "-f", "aiff", ima});
    ASSERT_EQ(AudioFileOpenPath(ima.toUtf8().constData(), kAudioFileReadPermission, 0, &af), noErr);
    const auto fmt = property<AudioStreamBasicDescription>(af, kAudioFilePropertyDataFormat);
    EXPECT_EQ(fmt.mFormatID, PvFourCC("ima4"));
    EXPECT_EQ(fmt.mFramesPerPacket, 64u);
    const auto packets = property<uint64_t>(af, kAudioFilePropertyAudioDataPacketCount);
    EXPECT_EQ((4410 + 63) / 64, packets) << "0.1 s at 44100 Hz in packets of 64 frames";
    AudioFileClose(af);
    CAuFileIO io;
    io.Set(ima.toUtf8().constData(), 0);
    EXPECT_EQ(io.Open(0), badFileFormat);
}

} // namespace

namespace {

// What CAuFileIO writes (through CreateAndOpen and WriteFloat, in two pieces) libsndfile
// reads back as the same floats, and so does CAuFileIO itself from 16 bits up, converting
// only the frames there are when asked past the end. 8-bit WAVE is left out: its samples are unsigned,
// while the 8-bit writers of the converter family write signed bytes, so peers read them
// offset by 128.
TEST_F(AudioFilePeers, FilesCreatedByCAuFileIOReadTheSameInLibsndfile)
{
    FSRef folder {};
    ASSERT_EQ(PathToFSRef(dir.path(), &folder), noErr);
    const std::pair<uint32_t, const char*> types[] = {{PvFourCC("WAVE"), "wav"}, {PvFourCC("AIFF"), "aif"},
        {PvFourCC("caff"), "caf"}, {PvFourCC("Sd2f"), "sd2"}};
    int made = 0;
    for (const auto& [type, ext] : types) {
        for (int bits : {8, 16, 24, 32}) {
            if ((type == PvFourCC("WAVE") && bits == 8) || (type == PvFourCC("Sd2f") && bits == 32))
                continue;
            for (int channels : {1, 2}) {
                const QString name
                    = QStringLiteral("io%1_%2.%3").arg(bits).arg(channels).arg(QString::fromUtf8(ext));
                SCOPED_TRACE(name.toStdString());
                std::vector<float> in(size_t(256 * channels));
                for (size_t i = 0; i < in.size(); ++i)
                    in[i] = float(int(i % 200) - 100) / 128.0f;
                {
                    CAuFileIO io;
                    ASSERT_EQ(
                        io.CreateAndOpen(&folder, name, 0, channels, bits, 44100, int32_t(type), nullptr), 0);
                    ASSERT_EQ(io.WriteFloat(in.data(), 0, 150), 0);
                    ASSERT_EQ(io.WriteFloat(in.data() + 150 * channels, 150, 106), 0);
                }
                const std::string file = dir.filePath(name).toStdString();
                if (type == PvFourCC("Sd2f"))
                    forkToAppleDouble(file);
                SF_INFO info {};
                SNDFILE* sf = sf_open(file.c_str(), SFM_READ, &info);
                ASSERT_NE(sf, nullptr) << sf_strerror(nullptr);
                EXPECT_EQ(info.channels, channels);
                EXPECT_EQ(info.samplerate, 44100);
                ASSERT_EQ(info.frames, 256);
                std::vector<float> out(in.size());
                EXPECT_EQ(sf_read_float(sf, out.data(), sf_count_t(out.size())), sf_count_t(out.size()));
                sf_close(sf);
                EXPECT_TRUE(out == in);
                // CAuFileIO reads 8-bit samples of other files than 'WAVE' with the swapped
                // 8-bit reader, which takes them as offset binary: only wider ones come back.
                if (bits == 8) {
                    ++made;
                    continue;
                }
                CAuFileIO io;
                io.Set(QString::fromStdString(file), kPathStylePOSIX, 0);
                ASSERT_EQ(io.Open(false), 0);
                EXPECT_EQ(io.NumChannels(), channels);
                EXPECT_EQ(io.BitDepth(), bits);
                EXPECT_EQ(io.SampleRate(), 44100);
                EXPECT_EQ(io.NumFrames(), 256u);
                std::fill(out.begin(), out.end(), 7.0f);
                ASSERT_EQ(io.ReadFloat(out.data(), 0, 256), 0);
                EXPECT_TRUE(out == in);
                std::fill(out.begin(), out.end(), 7.0f);
                ASSERT_EQ(io.ReadFloat(out.data(), 200, 100), 0);
                EXPECT_TRUE(std::equal(in.begin() + 200 * channels, in.end(), out.begin()));
                EXPECT_EQ(out[size_t(56 * channels)], 7.0f);
                EXPECT_EQ(io.WriteFloat(in.data(), 0, 1), permErr); // not open for writing
                ++made;
            }
        }
    }
    EXPECT_EQ(made, 28);
}

} // namespace

#include "Transfer.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <climits>
#include <cstring>

namespace pavoaudio {

OSStatus copyChunks(AudioAccess& from, AudioAccess& to, QStringList* dropped)
{
    std::vector<ChunkEntry> chunks;
    OSStatus e = from.listChunks(chunks);
    if (e != noErr)
        return e;
    std::vector<uint8_t> payload;
    for (const ChunkEntry& c : chunks) {
        // 'fact' counts the frames of WAVE data; it means nothing in the other containers.
        if (c.id == PvFourCC("fact") && to.fileType() != kAudioFileWAVEType) {
            dropped->append(QStringLiteral("'fact'"));
            continue;
        }
        if ((e = from.readChunk(c.id, c.index, payload)) != noErr)
            return e;
        if (payload.empty())
            continue;
        const uint32_t index = to.countChunks(c.id);
        e = to.writeChunk(c.id, index, payload);
        if (e == kAudioFileInvalidChunkError || e == kAudioFileOperationNotSupportedError
            || e == kAudioFileDoesNotAllow64BitDataSizeError) {
            dropped->append(QStringLiteral("'%1'").arg(fourCCText(c.id)));
            continue;
        }
        if (e != noErr)
            return e;
    }
    return noErr;
}

QString placeIn(const QString& dir, const QString& name)
{
    return dir == QLatin1String(".") ? name : QDir(dir).filePath(name);
}

StereoName stereoName(const QString& name)
{
    StereoName s;
    QByteArray bytes = name.toUtf8();
    int index = CFileUtilHasStereoExtension(bytes.constData());
    if (index < 0) {
        // A suffix of a row without an extension, followed by an audio extension.
        const qsizetype dot = bytes.lastIndexOf('.');
        if (dot <= 0 || CFileUtilFileTypeFromName(bytes.constData() + dot) == 0)
            return s;
        const QByteArray rest = bytes.left(dot);
        index = CFileUtilHasStereoExtension(rest.constData());
        const tAudioFileType* row = index >= 0 ? CFileUtilAudioFileType(index >> 1) : nullptr;
        if (row == nullptr || row->extension[0] != 0)
            return s;
        s.extension = QString::fromUtf8(bytes.mid(dot));
        bytes = rest;
    }
    const int position = CFileUtilGetPointExt(bytes.constData());
    if (position < 0)
        return StereoName();
    s.index = index;
    s.stem = QString::fromUtf8(bytes.left(position));
    s.suffix = QString::fromUtf8(bytes.mid(position));
    return s;
}

QString partnerName(const QString& name)
{
    const StereoName s = stereoName(name);
    char suffix[8] = {};
    if (!s.isHalf() || CFileUtilGetStereoExtension(suffix, s.index ^ 1) == nullptr)
        return QString();
    // The partner's suffix in the letter case of this one's (the rules ignore case).
    QString other = QString::fromLatin1(suffix);
    for (qsizetype i = 0; i < other.size() && i < s.suffix.size(); ++i) {
        if (s.suffix.at(i).isLower())
            other[i] = other.at(i).toLower();
        else if (s.suffix.at(i).isUpper())
            other[i] = other.at(i).toUpper();
    }
    return s.stem + other + s.extension;
}

bool movesWords(std::initializer_list<const AudioAccess*> sources, bool targetFloat, int targetBits)
{
    if (targetFloat && targetBits != 32)
        return false;
    for (const AudioAccess* a : sources) {
        if (!a->hasWords() || a->isFloat() != targetFloat)
            return false;
    }
    return true;
}

OSStatus SampleMover::read(
    AudioAccess& file, int64_t start, uint32_t count, std::vector<uint32_t>& out, uint32_t* got)
{
    const size_t n = size_t(count) * size_t(file.channels());
    out.resize(n);
    if (m_words)
        return file.readWords(out.data(), start, count, got);
    m_floats.resize(n);
    const OSStatus e = file.readFloat(m_floats.data(), start, count, got);
    std::memcpy(out.data(), m_floats.data(), n * sizeof(float));
    return e;
}

OSStatus SampleMover::write(AudioAccess& file, int64_t start, uint32_t count, std::vector<uint32_t>& in)
{
    const size_t n = size_t(count) * size_t(file.channels());
    if (m_words) {
        if (m_dither)
            ditherWords(in.data(), n, m_bits, &m_noise);
        return file.writeWords(in.data(), start, count);
    }
    m_floats.resize(n);
    std::memcpy(m_floats.data(), in.data(), n * sizeof(float));
    return file.writeFloat(m_floats.data(), start, count);
}

void ditherWords(uint32_t* words, size_t count, int bits, uint64_t* state)
{
    if (bits >= 32)
        return;
    const int64_t step = int64_t(1) << (32 - bits);
    const int64_t top = int64_t(INT32_MAX) & ~(step - 1);
    uint64_t x = *state != 0 ? *state : 0x9E3779B97F4A7C15ull;
    auto next = [&x] {
        // xorshift64*: plenty for dither noise.
        x ^= x >> 12;
        x ^= x << 25;
        x ^= x >> 27;
        return x * 0x2545F4914F6CDD1Dull;
    };
    for (size_t i = 0; i < count; ++i) {
        const uint64_t r = next();
        const int64_t noise = int64_t(r & uint64_t(step - 1)) - int64_t((r >> 32) & uint64_t(step - 1));
        int64_t v = int64_t(int32_t(words[i])) + noise + step / 2;
        v = std::clamp<int64_t>(v, INT32_MIN, top);
        words[i] = uint32_t(int32_t(v)) & ~uint32_t(step - 1);
    }
    *state = x;
}

namespace {

bool taken(const QString& dir, const QString& name, bool pair)
{
    if (pathExists(QDir(dir).filePath(name)))
        return true;
    if (!pair)
        return false;
    const QString partner = partnerName(name);
    return !partner.isEmpty() && pathExists(QDir(dir).filePath(partner));
}

/// The naming rules' search on an FSSpec; empty when the name does not fit one or the
/// search could not keep the stereo suffix.
QString frameworkUnique(const QString& dir, const QString& name, bool pair)
{
    bool ascii = true;
    for (QChar c : name)
        ascii = ascii && c.unicode() >= 0x20 && c.unicode() < 0x7F;
    // Its records know no suffix followed by an extension ("Pad(L).wav").
    if (!ascii || name.size() > 31 || (pair && !stereoName(name).extension.isEmpty()))
        return QString();
    CFileRef ref(QDir(dir).absolutePath(), name);
    FSSpec fsSpec {};
    fsSpec.vRefNum = ref.GetVolumeRefNumber();
    fsSpec.parID = ref.GetParID();
    if (fsSpec.parID == -1)
        return QString();
    const QByteArray bytes = name.toLatin1();
    fsSpec.name[0] = uint8_t(bytes.size());
    std::memcpy(fsSpec.name + 1, bytes.constData(), size_t(bytes.size()));
    CFileUtilMakeFileNameUnique(&fsSpec, nullptr);
    const QString result
        = QString::fromLatin1(reinterpret_cast<const char*>(fsSpec.name + 1), fsSpec.name[0]);
    if (pair
        && CFileUtilHasStereoExtension(result.toLatin1().constData())
            != CFileUtilHasStereoExtension(bytes.constData()))
        return QString();
    return taken(dir, result, pair) ? QString() : result;
}

} // namespace

QString uniqueName(const QString& dir, const QString& name, bool pair)
{
    if (!taken(dir, name, pair))
        return name;
    const QString rules = frameworkUnique(dir, name, pair);
    if (!rules.isEmpty())
        return rules;
    // Same scheme for names beyond the records: "#n" before the stereo suffix, or else
    // before the extension.
    QString stem = name, ending;
    const StereoName half = pair ? stereoName(name) : StereoName();
    if (half.isHalf()) {
        stem = half.stem;
        ending = half.suffix + half.extension;
    } else if (const qsizetype dot = name.lastIndexOf(QLatin1Char('.')); dot > 0) {
        stem = name.left(dot);
        ending = name.mid(dot);
    }
    for (int n = 1;; ++n) {
        const QString candidate = stem + QStringLiteral("#%1").arg(n) + ending;
        if (!taken(dir, candidate, pair))
            return candidate;
    }
}

} // namespace pavoaudio

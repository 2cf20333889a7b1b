#include "Transfer.h"

#include <QDir>
#include <QFileInfo>

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

QString partnerName(const QString& name)
{
    const QByteArray bytes = name.toUtf8();
    const int index = CFileUtilHasStereoExtension(bytes.constData());
    const int position = CFileUtilGetPointExt(bytes.constData());
    if (index < 0 || position < 0)
        return QString();
    char suffix[8] = {};
    if (CFileUtilGetStereoExtension(suffix, index ^ 1) == nullptr)
        return QString();
    return QString::fromUtf8(bytes.left(position)) + QString::fromLatin1(suffix);
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
    if (!ascii || name.size() > 31)
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
    const QByteArray bytes = name.toUtf8();
    const int position = pair ? CFileUtilGetPointExt(bytes.constData()) : -1;
    if (position >= 0) {
        stem = QString::fromUtf8(bytes.left(position));
        ending = QString::fromUtf8(bytes.mid(position));
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

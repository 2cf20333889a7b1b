#include "Inspect.h"

#include "Tool.h"

#include <QJsonArray>

#include <cmath>
#include <cstddef>
#include <cstring>

namespace pavoaudio {

bool decodeBasicTagging(const std::vector<uint8_t>& payload, BasicTagging* out)
{
    if (payload.size() < kBasicTaggingSize)
        return false;
    std::memcpy(out, payload.data(), kBasicTaggingSize);
    tagging::SwapBasicTaggingChunkToBig(out); // a swap is its own inverse
    return true;
}

bool inspectFile(const QString& path, FileReport* r, bool decodeTagging)
{
    r->path = path;
    AudioAccess file;
    OSStatus e = file.open(path, false);
    if (e != noErr) {
        r->error = e;
        r->failedStep = QStringLiteral("cannot open");
        r->sysErrno = openErrno(path);
        return false;
    }
    r->fileType = file.fileType();
    r->channels = file.channels();
    r->bits = file.bits();
    r->bytesPerSample = int(file.format().mBytesPerFrame / file.format().mChannelsPerFrame);
    r->isFloat = file.isFloat();
    r->bigEndian = file.swapped();
    r->sampleRate = file.sampleRate();
    r->frames = file.frames();
    r->declaredBytes = file.declaredDataBytes();
    r->presentBytes = file.presentDataBytes();
    if ((e = file.listChunks(r->chunks)) != noErr) {
        r->error = e;
        r->failedStep = QStringLiteral("cannot list chunks");
        return false;
    }
    r->tagged = file.isTaggedLoop();
    if (r->tagged && decodeTagging) {
        std::vector<uint8_t> payload;
        if ((e = file.readChunk(kBasicTaggingID, 0, payload)) != noErr) {
            r->error = e;
            r->failedStep = QStringLiteral("cannot read the 'basc' chunk");
            return false;
        }
        r->taggingSize = uint32_t(payload.size());
        r->taggingDecoded = decodeBasicTagging(payload, &r->tagging);
    }
    return true;
}

QString sampleFormatText(const FileReport& r)
{
    if (r.isFloat)
        return QStringLiteral("%1-bit float").arg(r.bits);
    if (r.bits == 8 && r.fileType == kAudioFileWAVEType)
        return QStringLiteral("8-bit unsigned integer");
    return QStringLiteral("%1-bit signed integer").arg(r.bits);
}

QString durationText(double seconds)
{
    const long long ms = std::llround(seconds * 1000.0);
    const long long h = ms / 3600000, m = (ms / 60000) % 60, s = (ms / 1000) % 60, f = ms % 1000;
    if (h > 0)
        return QStringLiteral("%1:%2:%3.%4")
            .arg(h)
            .arg(m, 2, 10, QLatin1Char('0'))
            .arg(s, 2, 10, QLatin1Char('0'))
            .arg(f, 3, 10, QLatin1Char('0'));
    return QStringLiteral("%1:%2.%3").arg(m).arg(s, 2, 10, QLatin1Char('0')).arg(f, 3, 10, QLatin1Char('0'));
}

QString reportText(const FileReport& r)
{
    QString t;
    t += displayName(r.path) + QStringLiteral(":\n");
    t += QStringLiteral("  container:     %1\n").arg(containerName(r.fileType));
    t += QStringLiteral("  sample format: %1\n").arg(sampleFormatText(r));
    t += QStringLiteral("  byte order:    %1\n")
             .arg(r.bytesPerSample <= 1 ? QStringLiteral("none (bytes)")
                     : r.bigEndian      ? QStringLiteral("big-endian")
                                        : QStringLiteral("little-endian"));
    t += QStringLiteral("  channels:      %1\n").arg(r.channels);
    t += QStringLiteral("  sample rate:   %1 Hz\n").arg(r.sampleRate, 0, 'g', 10);
    t += QStringLiteral("  frames:        %1\n").arg(r.frames);
    t += QStringLiteral("  duration:      %1 (%2 s)\n")
             .arg(durationText(r.seconds()))
             .arg(r.seconds(), 0, 'f', 3);
    if (r.truncated())
        t += QStringLiteral("  truncated:     the data chunk declares %1 bytes, the file holds %2\n")
                 .arg(r.declaredBytes)
                 .arg(r.presentBytes);
    QStringList ids;
    for (const ChunkEntry& c : r.chunks)
        ids << QStringLiteral("'%1' (%2 bytes)").arg(fourCCText(c.id)).arg(c.size);
    t += QStringLiteral("  chunks:        %1\n")
             .arg(ids.isEmpty() ? QStringLiteral("none") : ids.join(QStringLiteral(", ")));
    t += QStringLiteral("  tagged loop:   %1\n").arg(r.tagged ? QStringLiteral("yes") : QStringLiteral("no"));
    if (r.tagged) {
        if (!r.taggingDecoded) {
            t += QStringLiteral("  tagging 'basc': too short to decode (%1 of %2 bytes)\n")
                     .arg(r.taggingSize)
                     .arg(kBasicTaggingSize);
        } else {
            t += QStringLiteral("  tagging 'basc' (%1 bytes), fields of the record at their offsets:\n")
                     .arg(r.taggingSize);
            for (const tagging::BasicTaggingField& field : tagging::BasicTaggingFields(r.tagging))
                t += QStringLiteral("    %1 %2 %3\n")
                         .arg(QString::fromStdString(field.name) + QLatin1Char(':'), -12)
                         .arg(QStringLiteral("@%1 (%2-bit)").arg(field.offset).arg(field.bits), -14)
                         .arg(field.value);
        }
    }
    return t;
}

QJsonObject reportJson(const FileReport& r)
{
    QJsonObject o;
    o[QStringLiteral("file")] = r.path;
    if (r.error != noErr) {
        o[QStringLiteral("error")]
            = r.failedStep + QStringLiteral(": ") + describeFailure(r.error, r.sysErrno);
        o[QStringLiteral("resultCode")] = int(r.error);
        return o;
    }
    o[QStringLiteral("container")] = containerName(r.fileType);
    o[QStringLiteral("fileType")] = fourCCText(r.fileType);
    o[QStringLiteral("sampleFormat")] = r.isFloat           ? QStringLiteral("float")
        : (r.bits == 8 && r.fileType == kAudioFileWAVEType) ? QStringLiteral("unsigned")
                                                            : QStringLiteral("signed");
    o[QStringLiteral("bits")] = r.bits;
    o[QStringLiteral("byteOrder")] = r.bytesPerSample <= 1 ? QStringLiteral("none")
        : r.bigEndian                                      ? QStringLiteral("big")
                                                           : QStringLiteral("little");
    o[QStringLiteral("channels")] = r.channels;
    o[QStringLiteral("sampleRate")] = r.sampleRate;
    o[QStringLiteral("frames")] = double(r.frames);
    o[QStringLiteral("seconds")] = r.seconds();
    o[QStringLiteral("truncated")] = r.truncated();
    o[QStringLiteral("declaredDataBytes")] = double(r.declaredBytes);
    o[QStringLiteral("presentDataBytes")] = double(r.presentBytes);
    QJsonArray chunks;
    for (const ChunkEntry& c : r.chunks) {
        QJsonObject j;
        j[QStringLiteral("id")] = fourCCText(c.id);
        j[QStringLiteral("index")] = int(c.index);
        j[QStringLiteral("size")] = double(c.size);
        chunks.append(j);
    }
    o[QStringLiteral("chunks")] = chunks;
    o[QStringLiteral("taggedLoop")] = r.tagged;
    if (r.tagged && r.taggingDecoded) {
        const BasicTagging& b = r.tagging;
        QJsonObject t;
        QJsonArray head, shorts, values;
        head.append(double(b.value1));
        head.append(double(b.value2));
        for (int i = 0; i < 5; ++i)
            shorts.append(int(b.words[i]));
        for (int i = 0; i < 16; ++i)
            values.append(double(b.values[i]));
        t[QStringLiteral("header")] = head;
        t[QStringLiteral("shorts")] = shorts;
        t[QStringLiteral("values")] = values;
        t[QStringLiteral("size")] = double(r.taggingSize);
        QJsonObject fields;
        for (const tagging::BasicTaggingField& field : tagging::BasicTaggingFields(r.tagging))
            fields[QString::fromStdString(field.name)] = double(field.value);
        t[QStringLiteral("fields")] = fields;
        o[QStringLiteral("basc")] = t;
    }
    return o;
}

} // namespace pavoaudio

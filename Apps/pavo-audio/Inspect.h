// What the tool reports of one audio file: its format, its chunks and its tagging
// record, gathered once and shown as text or JSON (info) or as one line (scan).
#pragma once

#include "AudioAccess.h"

#include <QJsonObject>
#include <QString>

#include <cstdint>
#include <vector>

namespace pavoaudio {

/// The basic tagging record ('basc') in host order. The record's layout names and
/// places its fields; what they mean is the host applications' business, so the tool
/// shows each under its name in the record, with its offset and width.
using BasicTagging = tagging::BasicTaggingChunk;
/// Size of the basic tagging record in a file.
inline constexpr uint32_t kBasicTaggingSize = sizeof(tagging::BasicTaggingChunk);

/// Decodes a 'basc' payload (big-endian in the file) with the framework's record
/// swapper; false when it is too short. The swapper must not run on two threads at once.
bool decodeBasicTagging(const std::vector<uint8_t>& payload, BasicTagging* out);

struct FileReport {
    QString path;
    OSStatus error = noErr; ///< noErr when the file could be read
    QString failedStep; ///< what failed ("cannot open")
    int sysErrno = 0; ///< the system's reason when it has one
    uint32_t fileType = 0;
    int channels = 0;
    int bits = 0;
    int bytesPerSample = 0;
    bool isFloat = false;
    bool bigEndian = false;
    double sampleRate = 0;
    uint64_t frames = 0;
    uint64_t declaredBytes = 0; ///< audio data the header declares
    uint64_t presentBytes = 0; ///< of that, what the file holds
    std::vector<ChunkEntry> chunks;
    bool tagged = false; ///< a 'basc' chunk is present
    bool taggingDecoded = false;
    uint32_t taggingSize = 0;
    BasicTagging tagging;
    double seconds() const { return sampleRate > 0 ? double(frames) / sampleRate : 0.0; }
    /// The file was cut short: it holds less audio data than its header declares.
    bool truncated() const { return presentBytes < declaredBytes; }
};

/// Opens the file read-only and fills the report; false (with error and failedStep)
/// when it cannot be read. The tagging record is decoded only when asked (one thread
/// at a time).
bool inspectFile(const QString& path, FileReport* report, bool decodeTagging);

/// "16-bit signed integer", "32-bit float".
QString sampleFormatText(const FileReport& r);
/// "1:02.500" style duration with milliseconds.
QString durationText(double seconds);
/// The multi-line text of info.
QString reportText(const FileReport& r);
/// The JSON object of info --json.
QJsonObject reportJson(const FileReport& r);

} // namespace pavoaudio

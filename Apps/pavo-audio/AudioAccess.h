// One audio file as the tool sees it: a CAuFileIO that opens or creates it and moves
// samples as interleaved 32-bit floats, with the metadata chunks addressed by ID and
// index.
//
// CAuFileIO does the work wherever its rules fit; the audio file service (which it is
// built on) is called directly for what it leaves out: listing chunks and chunks beyond
// the first of an ID, 32-bit integer files and sample rates with a fraction, 64-bit
// float samples, frame positions past 32 bits, and the full 32-bit result codes that
// CAuFileIO's 16-bit results cut short. 8-bit samples get their sign convention put
// right around CAuFileIO's converters (WAVE stores them unsigned, the others signed).
//
// The byte-order rule is the framework's: samples of 'WAVE' files are little-endian,
// those of every other container big-endian. Every call returns a result code (noErr on
// success). One object is used by one thread at a time.
#pragma once

#include <Pavo/PavoCore.h>

#include <QString>

#include <cstdint>
#include <vector>

namespace pavoaudio {

/// One chunk present in a file.
struct ChunkEntry {
    uint32_t id = 0;
    uint32_t index = 0; ///< its position among the chunks of the same ID
    uint32_t size = 0; ///< payload bytes
};

class AudioAccess {
public:
    AudioAccess() = default;
    AudioAccess(const AudioAccess&) = delete;
    AudioAccess& operator=(const AudioAccess&) = delete;
    /// Closes the file (the close result is lost; call close() to see it).
    ~AudioAccess();

    /// Opens an existing file, read-only or for reading and writing, and reads its
    /// format. Anything that is not linear PCM gives badFileFormat.
    OSStatus open(const QString& path, bool writable);
    /// Creates a file of `fileType` ('AIFF', 'AIFC', 'WAVE', 'caff', 'Sd2f') holding
    /// linear PCM with the given layout; `replace` allows an existing file to go.
    OSStatus create(const QString& path, uint32_t fileType, int channels, int bits, bool isFloat,
        double sampleRate, bool replace);
    /// Finishes and closes the file; noErr when none is open.
    OSStatus close();

    bool isOpen() const { return m_io.mAudioFile != nullptr; }
    uint32_t fileType() const { return m_io.FileType(); }
    const AudioStreamBasicDescription& format() const { return m_io.mFormat; }
    int channels() const { return m_io.NumChannels(); }
    int bits() const { return m_io.BitDepth(); }
    bool isFloat() const { return (m_io.mFormat.mFormatFlags & kAudioFormatFlagIsFloat) != 0; }
    /// Bytes each stored sample takes.
    int bytesPerSample() const { return int(m_io.mFormat.mBytesPerFrame / m_io.mFormat.mChannelsPerFrame); }
    double sampleRate() const { return m_io.mFormat.mSampleRate; }
    /// Samples are stored big-endian (every type but 'WAVE').
    bool swapped() const { return m_io.Swapped(); }
    uint64_t frames() const { return m_frames; }
    /// Bytes of audio data the header declares, and those the file holds (fewer when the
    /// file was cut short).
    uint64_t declaredDataBytes() const { return m_io.DeclaredDataBytes(); }
    uint64_t presentDataBytes() const { return m_io.PresentDataBytes(); }

    /// Reads up to `count` frames from `start` into `out` (count x channels floats);
    /// `*got` receives the number read (0 at the end). Frames not read are silence.
    OSStatus readFloat(float* out, int64_t start, uint32_t count, uint32_t* got);
    /// Writes `count` interleaved float frames at `start`.
    OSStatus writeFloat(const float* in, int64_t start, uint32_t count);

    /// Whether readWords/writeWords serve this file: integer samples of 1 to 4 bytes or
    /// 32-bit floats.
    bool hasWords() const;
    /// Reads up to `count` frames as 32-bit words, the samples' own bits with nothing
    /// rounded: integers left-justified (a 16-bit -32768 is 0x80000000, 8-bit WAVE bytes
    /// made signed), floats as their bit pattern. Like readFloat otherwise.
    OSStatus readWords(uint32_t* out, int64_t start, uint32_t count, uint32_t* got);
    /// Writes `count` frames of such words: integers keep their top bits (the low ones
    /// are cut off), floats are stored as they are.
    OSStatus writeWords(const uint32_t* in, int64_t start, uint32_t count);

    /// Every chunk of the file in order of first appearance of its ID.
    OSStatus listChunks(std::vector<ChunkEntry>& out);
    /// The payload of chunk `index` of `id`; kAudioFileInvalidChunkError when absent.
    OSStatus readChunk(uint32_t id, uint32_t index, std::vector<uint8_t>& out);
    /// Replaces chunk `index` of `id`, or adds it when `index` equals their count.
    OSStatus writeChunk(uint32_t id, uint32_t index, const std::vector<uint8_t>& data);
    /// Removes chunk `index` of `id`.
    OSStatus removeChunk(uint32_t id, uint32_t index);
    /// Number of chunks of `id` (0 when there is none).
    uint32_t countChunks(uint32_t id);
    /// Whether the file is a tagged loop: it has a 'basc' chunk.
    bool isTaggedLoop() { return m_io.IsSorvikLoop(); }

private:
    int sizeCode() const;
    bool needsDirectRead(int64_t start, uint32_t count) const;
    OSStatus readDirect(float* out, int64_t start, uint32_t count, uint32_t* got);
    OSStatus writeDirect(const float* in, int64_t start, uint32_t count);

    CAuFileIO m_io;
    uint64_t m_frames = 0;
    std::vector<uint8_t> m_raw; ///< stored samples of one block
};

/// The tagging chunk that makes a file a tagged loop ('basc').
inline constexpr uint32_t kBasicTaggingID = PvFourCC("basc");

} // namespace pavoaudio

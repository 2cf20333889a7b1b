// CAuFileIO: reading and writing linear PCM audio files as 32-bit floats.
//
// The object is at the same time a CFileRef naming the file and the open file itself:
// name the file (FSSpec, FSRef, path, URL), then Open it, or CreateAndOpen a new one.
// The container (AIFF, AIFC, WAVE, CAF, Sound Designer II) is handled entirely by the
// audio file service (PvAudioFile.h); this class never reads or writes a header byte.
// It refuses every file whose data is not linear PCM.
//
// Sample byte order follows one rule: 'WAVE' files hold little-endian samples, every
// other file type big-endian ones (the service presents every file that way). Reading
// converts to float in the caller's buffer with the converters of GetConvertNToFloat;
// writing converts with GetConvertFloatToN, or swaps raw samples in place (WriteData).
//
// Metadata chunks travel as CChunkData records, always as instance 0 of their ID.
//
// Ownership: the object owns its open file; the destructor closes it. Threads: one
// object is used by one thread at a time.
#pragma once

#include "CChunkData.h"
#include "CFileRef.h"
#include "PvAudioFile.h"
#include "PvMacTypes.h"

#include <QString>
#include <cstdint>

/// File-type labels for the host's menus (each with a leading blank); the framework
/// itself does not use them.
extern "C" const char strWavefile[];
extern "C" const char strAIFFfile[];
extern "C" const char strSDIIfile[];
extern "C" const char strCAFfile[];
extern "C" const char strMP3file[];
extern "C" const char strMP4file[];
extern "C" const char strM4Afile[];
extern "C" const char strOrigfile[];

class CAuFileIO : public CFileRef {
public:
    /// An empty reference in the reset state (closed, permission -1).
    CAuFileIO();
    /// Sets the reference to `fsSpec` and opens it: `err` receives Open(writable).
    CAuFileIO(short& err, FSSpec* fsSpec, unsigned char writable);
    /// CloseFileAndInit(), then the reference is released.
    ~CAuFileIO();
    CAuFileIO(const CAuFileIO&) = delete;
    CAuFileIO& operator=(const CAuFileIO&) = delete;

    // ---- Opening and closing ----
    /// Opens the file the object refers to, for reading, or for reading and writing when
    /// `writable`. Already open with that permission: 0 at once; with the other one: the
    /// file is closed and opened again. Returns fnfErr when the reference yields no
    /// FSRef, badFileFormat (-208) for data that is not linear PCM (the object is then
    /// reset), or the service's result truncated to 16 bits.
    OSErr Open(unsigned char writable);
    /// CloseFileAndInit(), sets the reference to `fsSpec`, Open(writable).
    OSErr Open(FSSpec* fsSpec, unsigned char writable);
    /// Opens the file an FSRef names (through its FSSpec).
    OSErr Open(FSRef* ref, unsigned char writable);
    /// Creates `name` in `parentDir` and leaves it open for writing: 32 bits make a float
    /// file, other depths packed signed integers; big-endian unless `fileType` is 'WAVE'.
    /// `spare` is ignored; `outRef` (may be null) receives the new file's FSRef.
    /// Returns 0 or the service's result (dupFNErr when the file exists).
    OSErr CreateAndOpen(const FSRef* parentDir, const QString& name, int32_t spare, int channels,
        int bitDepth, int32_t sampleRate, int32_t fileType, FSRef* outRef);
    /// The same with the folder and name of an FSSpec (name in Mac Roman).
    OSErr CreateAndOpen(const FSSpec* fsSpec, int32_t spare, int channels, int bitDepth, int32_t sampleRate,
        int32_t fileType, FSRef* outRef);
    /// Closes the file if open; the format fields and mPermission keep their values.
    /// Returns the close result, 0 when nothing was open.
    OSStatus Close();
    /// Closes the file if open (result ignored) and returns to the reset state. Returns 0.
    OSStatus CloseFileAndInit();

    // ---- Format (valid after Open or CreateAndOpen) ----
    int NumChannels() const { return int(mFormat.mChannelsPerFrame); }
    int BitDepth() const { return int(mFormat.mBitsPerChannel); }
    uint32_t FileType() const { return mFileType; }
    /// The sample rate truncated toward zero.
    int32_t SampleRate() const { return int32_t(mFormat.mSampleRate); }
    /// True when samples are big-endian, i.e. the type is not 'WAVE'.
    bool Swapped() const { return mFileType != PvFourCC("WAVE"); }
    /// Frames of audio: data bytes / ((bitDepth >> 3) x channels) for linear PCM (a
    /// 20-bit file counts 2 bytes per sample here), else packets x frames per packet.
    uint64_t NumFrames() const;
    /// Bytes of audio data the header declares and, of those, the bytes the file holds
    /// (the service's kAudioFilePropertyDeclaredDataByteCount and
    /// kAudioFilePropertyPresentDataByteCount); 0 when closed and for a new file.
    uint64_t DeclaredDataBytes() const { return mDeclaredByteCount; }
    uint64_t PresentDataBytes() const { return mPresentByteCount; }
    /// True when the file was cut short: it holds less audio data than its header
    /// declares. Reading then yields what is present (NumFrames counts only that).
    bool Truncated() const { return mPresentByteCount < mDeclaredByteCount; }
    /// frames x channels x (bitDepth >> 3), computed in 32 bits and sign-extended.
    int64_t FramesToBytes(int32_t frames) const;
    /// bytes / ((bitDepth >> 3) x channels); 0 when that divisor is 0.
    uint64_t BytesToFrames(uint64_t bytes) const;
    /// Reverse the bytes of a value unless the type is 'WAVE': file order <-> host order.
    void ByteOrder(int32_t& value) const;
    void ByteOrder(uint32_t& value) const;
    void ByteOrder(int16_t& value) const;
    void ByteOrder(uint16_t& value) const;

    // ---- Samples ----
    /// Reads `numFrames` frames from `startFrame` into `out` as interleaved floats
    /// (numFrames x channels values). On a failed read the buffer is cleared (silence)
    /// and the error returned. Fewer frames at the end of the data are converted and
    /// the rest of the buffer is left alone. A negative count: paramErr. 64-bit samples
    /// are read into a buffer of their own first, since they do not fit in `out`.
    OSErr ReadFloat(float* out, int32_t startFrame, int32_t numFrames);
    /// Converts and writes `numFrames` interleaved float frames at `startFrame`.
    /// permErr when the file is not open for writing; memFullErr when no buffer.
    OSErr WriteFloat(float* in, int32_t startFrame, int32_t numFrames);
    /// Writes frames already in the file's sample format, in host order. For every type
    /// but 'WAVE' the caller's buffer is byte-swapped in place first and stays in file
    /// order afterwards. Bytes per frame round the bit depth up (20 bits take 3 bytes).
    /// -1 for a bit depth below 1; no permission check of its own.
    OSErr WriteData(const void* data, int32_t startFrame, int32_t numFrames);

    // ---- Chunks ----
    /// Reads chunk `id` into `out`: 1 found; -1 not open; -2 absent or empty (out is
    /// untouched); -3 could not be read (out is cleared).
    int32_t FindChunk(int32_t id, CChunkData& out);
    /// Writes `chunk` as instance 0 of its ID: 1 written, -1 failed or not open for
    /// writing. `spare` is ignored.
    int32_t AddChunk(CChunkData& chunk, unsigned char spare);
    /// Removes chunk `id`: the service's result, or -1 when not open for writing.
    OSErr RemoveChunk(int32_t id);
    /// True when the file carries the basic tagging chunk 'basc' (a "Sorvik Loop").
    bool IsSorvikLoop();

    AudioFileID mAudioFile; ///< open file; null when closed
    AudioStreamBasicDescription mFormat; ///< stream format read or built
    uint64_t mDataByteCount; ///< bytes of audio data
    uint64_t mPacketCount; ///< packets of audio data (not reset on close)
    uint32_t mFileType; ///< container type, e.g. 'WAVE'
    int32_t mPermission; ///< -1 closed, 1 read, 3 read and write

private:
    void resetFields();
    uint64_t mDeclaredByteCount = 0;
    uint64_t mPresentByteCount = 0;
};

// The audio file service: reading and writing audio container files through calls
// shaped like the AudioToolbox AudioFile service.
//
// An AudioFileID is one open file. The service parses and writes every header byte of
// the containers it knows: AIFF, AIFC ('NONE'/'twos', 'sowt', 'fl32', 'fl64'), WAVE
// (PCM, IEEE float, WAVE_FORMAT_EXTENSIBLE, and RF64 once the data passes 4 GiB), CAF
// ('lpcm' in either byte order) and Sound Designer II (a raw data fork with its
// description in the resource fork, kept in the extended attribute
// "user.com.apple.ResourceFork" or, failing that, in an AppleDouble "._name" file).
// Files are recognised by their content, never by their name.
//
// Sample data is presented in the canonical byte order of the file type: little-endian
// for 'WAVE' files (RF64 files report 'WAVE' too), big-endian for every other type. A
// file that stores the other order (AIFC 'sowt', little-endian CAF) is converted on the
// fly in both directions. 8-bit samples are presented exactly as stored (unsigned in
// WAVE, signed elsewhere).
//
// User data is the file's metadata chunks (resources for Sound Designer II), addressed by
// a four-character ID and an index among the chunks of that ID. New chunks go after the
// audio data (in CAF only once its size is known), where every reader finds the data
// first; a file whose data grows later has them moved in front of it. Every edit that
// changes the layout of a file writes the complete new file beside the old one, flushes
// it and renames it over the old one, so that an interrupted edit leaves either the old
// or the new file, each of them valid. The new file's temporary name, ".pvtmp-" with a
// hash of the name, fits beside any name; those that killed edits left behind are
// removed by the next edit of the same file.
//
// Parsers read no further than the container's own size (RIFF, FORM, RF64 'ds64') once
// the format and the data are found, take an all-zero chunk header as the end, and keep
// at most a few thousand chunks: zeros that a recorder allocated ahead cost nothing.
//
// Threads: calls on one AudioFileID must not overlap; distinct files may be used from
// distinct threads. The service keeps no process-wide state.
#pragma once

#include "PvMacTypes.h"

#include <QString>
#include <cstdint>

/// A four-character container type: 'AIFF', 'AIFC', 'WAVE', 'caff', 'Sd2f'.
typedef uint32_t AudioFileTypeID;
/// A four-character property ID: 'dfmt', 'bcnt', 'ffmt', 'pcnt'.
typedef uint32_t AudioFilePropertyID;
/// An open audio file; null when none.
typedef struct OpaqueAudioFileID* AudioFileID;

/// The description of a stream of linear PCM (or other) audio data: 40 bytes.
struct AudioStreamBasicDescription {
    double mSampleRate; ///< frames per second
    uint32_t mFormatID; ///< 'lpcm' for linear PCM
    uint32_t mFormatFlags; ///< kAudioFormatFlag... bits
    uint32_t mBytesPerPacket;
    uint32_t mFramesPerPacket;
    uint32_t mBytesPerFrame;
    uint32_t mChannelsPerFrame;
    uint32_t mBitsPerChannel;
    uint32_t mReserved;
};
static_assert(sizeof(AudioStreamBasicDescription) == 40, "the stream description is 40 bytes");

/// Describes one packet of variable-size data. Linear PCM never needs one.
struct AudioStreamPacketDescription {
    int64_t mStartOffset;
    uint32_t mVariableFramesInPacket;
    uint32_t mDataByteSize;
};

enum : uint32_t {
    kAudioFormatLinearPCM = PvFourCC("lpcm"),

    kAudioFormatFlagIsFloat = 1u << 0,
    kAudioFormatFlagIsBigEndian = 1u << 1,
    kAudioFormatFlagIsSignedInteger = 1u << 2,
    kAudioFormatFlagIsPacked = 1u << 3,
    kAudioFormatFlagIsAlignedHigh = 1u << 4,

    kAudioFileAIFFType = PvFourCC("AIFF"),
    kAudioFileAIFCType = PvFourCC("AIFC"),
    kAudioFileWAVEType = PvFourCC("WAVE"),
    kAudioFileRF64Type = PvFourCC("RF64"),
    kAudioFileCAFType = PvFourCC("caff"),
    kAudioFileSoundDesigner2Type = PvFourCC("Sd2f"),

    /// The stream description (AudioStreamBasicDescription, 40 bytes).
    kAudioFilePropertyDataFormat = PvFourCC("dfmt"),
    /// Bytes of audio data (uint64_t).
    kAudioFilePropertyAudioDataByteCount = PvFourCC("bcnt"),
    /// The container type (AudioFileTypeID); 'WAVE' also for RF64 files.
    kAudioFilePropertyFileFormat = PvFourCC("ffmt"),
    /// Packets of audio data (uint64_t); one packet is one frame for linear PCM.
    kAudioFilePropertyAudioDataPacketCount = PvFourCC("pcnt"),
    /// Byte offset of the audio data in the (data fork of the) file (int64_t).
    kAudioFilePropertyDataOffset = PvFourCC("doff"),
    /// The IDs of the user data present (uint32_t each, in order of first appearance).
    kAudioFilePropertyChunkIDs = PvFourCC("chid"),
    /// Bytes of audio data the header declares (uint64_t): the size of the WAVE 'data'
    /// chunk (or its RF64 'ds64' entry), the sound of the AIFF 'SSND' chunk as far as
    /// the frame count of 'COMM' reaches, the CAF 'data' chunk less its edit count.
    /// Data that runs to the end of the file by definition declares what is present.
    kAudioFilePropertyDeclaredDataByteCount = PvFourCC("ddcl"),
    /// Of the declared bytes, those the file holds (uint64_t). Less than the declared
    /// count when the file was cut short; the audio data (kAudioFilePropertyAudioDataByteCount)
    /// is then what is present, cut to whole packets. After a write both counts are
    /// the audio data's size, which the header then declares.
    kAudioFilePropertyPresentDataByteCount = PvFourCC("dprs"),
};

/// Permissions of AudioFileOpenPath.
enum : int8_t {
    kAudioFileReadPermission = 1,
    kAudioFileWritePermission = 2,
    kAudioFileReadWritePermission = 3,
};

/// Flags of AudioFileCreatePath.
enum : uint32_t {
    /// Replace an existing file of the same name instead of failing with dupFNErr.
    kAudioFileFlags_EraseFile = 1,
};

/// Result codes of the service besides the file system's (fnfErr, permErr, ioErr,
/// dskFulErr, ...). The four-character values are those of the platform service.
enum : OSStatus {
    kAudioFileUnspecifiedError = OSStatus(PvFourCC("wht?")),
    kAudioFileUnsupportedFileTypeError = OSStatus(PvFourCC("typ?")),
    kAudioFileUnsupportedDataFormatError = OSStatus(PvFourCC("fmt?")),
    kAudioFileUnsupportedPropertyError = OSStatus(PvFourCC("pty?")),
    kAudioFileBadPropertySizeError = OSStatus(PvFourCC("!siz")),
    kAudioFilePermissionsError = OSStatus(PvFourCC("prm?")),
    kAudioFileInvalidChunkError = OSStatus(PvFourCC("chk?")),
    kAudioFileDoesNotAllow64BitDataSizeError = OSStatus(PvFourCC("off?")),
    kAudioFileInvalidPacketOffsetError = OSStatus(PvFourCC("pck?")),
    kAudioFileInvalidFileError = OSStatus(PvFourCC("dta?")),
    kAudioFileOperationNotSupportedError = 0x6F703F3F, // 'op??'
    kAudioFileNotOpenError = -38,
    kAudioFileEndOfFileError = -39,
    kAudioFilePositionError = -40,
    kAudioFileFileNotFoundError = -43,
};

/// Opens the file at a POSIX path and recognises its container by content.
/// @param permissions kAudioFileReadPermission or kAudioFileReadWritePermission
///                    (kAudioFileWritePermission is treated as read-write).
/// @param typeHint ignored: the content decides.
/// @param outFile receives the new file, or null on failure.
/// @returns noErr; fnfErr, permErr or another file-system code when the file cannot be
///          opened; kAudioFileUnsupportedFileTypeError for content that is no known
///          container; kAudioFileInvalidFileError or kAudioFileUnsupportedDataFormatError
///          for a damaged header or a sample format the container cannot hold; paramErr
///          for null arguments.
extern "C" OSStatus AudioFileOpenPath(
    const char* path, int8_t permissions, AudioFileTypeID typeHint, AudioFileID* outFile);

/// Opens the file an FSRef names; otherwise as AudioFileOpenPath. An FSRef that names
/// nothing (any more): fnfErr.
extern "C" OSStatus AudioFileOpen(
    const FSRef* ref, int8_t permissions, AudioFileTypeID typeHint, AudioFileID* outFile);

/// Creates the file `name` in the folder `parentDir` names; otherwise as
/// AudioFileCreatePath. `outRef`, when not null, receives the new file's FSRef.
/// A parent that names no folder: fnfErr (dirNFErr when it is a file); an empty name or
/// one holding '/': bdNamErr.
OSStatus AudioFileCreate(const FSRef* parentDir, const QString& name, AudioFileTypeID fileType,
    const AudioStreamBasicDescription* format, uint32_t flags, FSRef* outRef, AudioFileID* outFile);

/// Creates a new file of the given container type and stream format and opens it for
/// reading and writing.
/// @param format linear PCM, 8 to 32 bits signed integer (8-bit WAVE is unsigned),
///        32- or 64-bit float; packed; any channel count the container can hold. The
///        big-endian flag chooses the stored order where the container has a choice
///        ('AIFC': 'sowt' without it; 'caff': little-endian without it); 'AIFF' with a
///        float or little-endian format is written as 'AIFC'; 'WAVE' refuses big-endian.
/// @param flags kAudioFileFlags_EraseFile to replace an existing file; without it an
///        existing file gives dupFNErr.
/// @returns noErr, kAudioFileUnsupportedFileTypeError, kAudioFileUnsupportedDataFormatError,
///          paramErr or a file-system code.
extern "C" OSStatus AudioFileCreatePath(const char* path, AudioFileTypeID fileType,
    const AudioStreamBasicDescription* format, uint32_t flags, AudioFileID* outFile);

/// Finishes the header (sizes, RF64 upgrade), closes and releases the file. Returns the
/// result of finishing the header; the file is released in every case. Null: paramErr.
extern "C" OSStatus AudioFileClose(AudioFileID file);

/// Size in bytes of a property and whether it can be set (always 0 here). Unknown
/// property: kAudioFileUnsupportedPropertyError; null or closed file: paramErr.
extern "C" OSStatus AudioFileGetPropertyInfo(
    AudioFileID file, AudioFilePropertyID property, uint32_t* outSize, uint32_t* isWritable);

/// Copies a property into `data`. `*ioSize` must be at least the property's size and
/// receives the size copied. Unknown property: kAudioFileUnsupportedPropertyError; too
/// small a size: kAudioFileBadPropertySizeError.
extern "C" OSStatus AudioFileGetProperty(
    AudioFileID file, AudioFilePropertyID property, uint32_t* ioSize, void* data);

/// Reads up to `*ioNumPackets` packets from `startPacket` into `buffer` in the canonical
/// byte order. On return `*ioNumPackets` and `*outNumBytes` hold what was read: fewer at
/// the end of the data, 0 at or past it (still noErr). A negative start gives
/// kAudioFileInvalidPacketOffsetError. `useCache` and `packetDescriptions` are unused
/// for linear PCM.
extern "C" OSStatus AudioFileReadPackets(AudioFileID file, bool useCache, uint32_t* outNumBytes,
    AudioStreamPacketDescription* packetDescriptions, int64_t startPacket, uint32_t* ioNumPackets,
    void* buffer);

/// Writes `*ioNumPackets` packets from `buffer` (canonical byte order) at `startPacket`,
/// extending the data when they pass its end. The amount is governed by the packet
/// count; `numBytes` is not consulted for linear PCM. The caller's buffer is not changed.
/// Not open for writing: kAudioFilePermissionsError; a size the container cannot hold:
/// kAudioFileDoesNotAllow64BitDataSizeError.
extern "C" OSStatus AudioFileWritePackets(AudioFileID file, bool useCache, uint32_t numBytes,
    const AudioStreamPacketDescription* packetDescriptions, int64_t startPacket, uint32_t* ioNumPackets,
    const void* buffer);

/// Reads `*ioNumBytes` bytes of audio data from byte `startingByte` of the data.
extern "C" OSStatus AudioFileReadBytes(
    AudioFileID file, bool useCache, int64_t startingByte, uint32_t* ioNumBytes, void* buffer);

/// Writes `*ioNumBytes` bytes of audio data (canonical byte order) at byte
/// `startingByte` of the data, which need not lie on a sample boundary.
extern "C" OSStatus AudioFileWriteBytes(
    AudioFileID file, bool useCache, int64_t startingByte, uint32_t* ioNumBytes, const void* buffer);

/// Number of user-data chunks with the ID `userDataID`.
extern "C" OSStatus AudioFileCountUserData(AudioFileID file, uint32_t userDataID, uint32_t* outNumberItems);

/// Payload size of chunk `index` of ID `userDataID`. Absent: kAudioFileInvalidChunkError.
extern "C" OSStatus AudioFileGetUserDataSize(
    AudioFileID file, uint32_t userDataID, uint32_t index, uint32_t* outUserDataSize);

/// Copies the payload of chunk `index` of ID `userDataID` into `data`, at most `*ioSize`
/// bytes; `*ioSize` receives the number copied. Absent: kAudioFileInvalidChunkError.
extern "C" OSStatus AudioFileGetUserData(
    AudioFileID file, uint32_t userDataID, uint32_t index, uint32_t* ioSize, void* data);

/// Replaces chunk `index` of ID `userDataID` with `size` bytes of `data` (in its place),
/// or adds it as a new chunk after the audio data when `index` equals the number of such
/// chunks. The format chunk is rewritten as found, byte for byte. `size` 0 with null `data`
/// removes the chunk. IDs that the container itself uses for its structure ('COMM',
/// 'SSND', 'fmt ', 'data', 'ds64', 'desc', ...) give kAudioFileInvalidChunkError; a
/// file open read-only gives kAudioFilePermissionsError.
extern "C" OSStatus AudioFileSetUserData(
    AudioFileID file, uint32_t userDataID, uint32_t index, uint32_t size, const void* data);

/// Removes chunk `index` of ID `userDataID`. Absent: kAudioFileInvalidChunkError.
extern "C" OSStatus AudioFileRemoveUserData(AudioFileID file, uint32_t userDataID, uint32_t index);

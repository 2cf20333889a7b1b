#include "PvMacTypes.h"

namespace {

struct ResultCodeRow {
    OSStatus code;
    const char* name;
    const char* meaning;
};

constexpr ResultCodeRow kResultCodes[] = {
    {noErr, "noErr", "no error"},
    {unimpErr, "unimpErr", "operation not implemented"},
    {dskFulErr, "dskFulErr", "disk full"},
    {nsvErr, "nsvErr", "no such volume"},
    {ioErr, "ioErr", "input/output error"},
    {bdNamErr, "bdNamErr", "bad file name"},
    {fnOpnErr, "fnOpnErr", "file not open"},
    {eofErr, "eofErr", "end of file reached"},
    {posErr, "posErr", "position before the start of the file"},
    {tmfoErr, "tmfoErr", "too many files open"},
    {fnfErr, "fnfErr", "file not found"},
    {wPrErr, "wPrErr", "volume is write-protected"},
    {fLckdErr, "fLckdErr", "file is locked"},
    {dupFNErr, "dupFNErr", "a file with that name already exists"},
    {opWrErr, "opWrErr", "file already open for writing"},
    {paramErr, "paramErr", "invalid parameter"},
    {rfNumErr, "rfNumErr", "bad file reference number"},
    {permErr, "permErr", "permission denied"},
    {wrPermErr, "wrPermErr", "write permission denied"},
    {memFullErr, "memFullErr", "not enough memory"},
    {nilHandleErr, "nilHandleErr", "null handle"},
    {dirNFErr, "dirNFErr", "folder not found"},
    {badFileFormat, "badFileFormat", "file format not recognised"},
    {notAFileErr, "notAFileErr", "item is a folder, not a file"},
    {errFSBadFSRef, "errFSBadFSRef", "file reference is invalid"},
    // Codes of the audio file service (four characters each).
    {OSStatus(PvFourCC("wht?")), "kAudioFileUnspecifiedError", "unspecified audio file error"},
    {OSStatus(PvFourCC("typ?")), "kAudioFileUnsupportedFileTypeError",
        "not an audio file type that can be read"},
    {OSStatus(PvFourCC("fmt?")), "kAudioFileUnsupportedDataFormatError",
        "sample format not supported by this file type"},
    {OSStatus(PvFourCC("pty?")), "kAudioFileUnsupportedPropertyError", "property not supported"},
    {OSStatus(PvFourCC("!siz")), "kAudioFileBadPropertySizeError", "wrong size for the property"},
    {OSStatus(PvFourCC("prm?")), "kAudioFilePermissionsError", "audio file not open for writing"},
    {OSStatus(PvFourCC("chk?")), "kAudioFileInvalidChunkError",
        "chunk absent, or one that cannot be changed"},
    {OSStatus(PvFourCC("off?")), "kAudioFileDoesNotAllow64BitDataSizeError",
        "audio data too large for this file type"},
    {OSStatus(PvFourCC("pck?")), "kAudioFileInvalidPacketOffsetError", "invalid sample frame position"},
    {OSStatus(PvFourCC("dta?")), "kAudioFileInvalidFileError", "audio file is damaged or malformed"},
    {OSStatus(0x6F703F3F), "kAudioFileOperationNotSupportedError",
        "operation not supported by this file type"},
};

const ResultCodeRow* findRow(OSStatus code)
{
    for (const auto& row : kResultCodes) {
        if (row.code == code)
            return &row;
    }
    return nullptr;
}

} // namespace

extern "C" const char* PvResultCodeName(OSStatus code)
{
    const ResultCodeRow* row = findRow(code);
    return row ? row->name : nullptr;
}

extern "C" const char* PvResultCodeMeaning(OSStatus code)
{
    const ResultCodeRow* row = findRow(code);
    return row ? row->meaning : nullptr;
}

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

// Record types and result codes shared by every layer of Pavo.
//
// The framework's interfaces were shaped on the classic Mac OS toolbox, and stored
// records keep that binary layout: the sizes below are part of the file formats and
// exchange blocks built on them, so each is pinned by a static_assert. Every type here
// is a plain value type, usable from any thread.
#pragma once

#include <cstddef>
#include <cstdint>

/// Result code of file and audio calls: 0 is success, negative values are errors.
typedef int16_t OSErr;
/// 32-bit result code; holds every OSErr sign-extended.
typedef int32_t OSStatus;
/// A four-character code ('WAVE', 'basc'), stored as a big-endian 32-bit value.
typedef uint32_t FourCharCode;
typedef FourCharCode OSType;
/// Pascal strings: a length byte followed by up to N bytes.
typedef unsigned char Str255[256];
typedef unsigned char Str63[64];
typedef unsigned char Str31[32];
typedef unsigned char* StringPtr;
typedef const unsigned char* ConstStringPtr;
typedef const unsigned char* ConstStr255Param;

/// Result codes used by name across the framework.
enum : OSErr {
    noErr = 0,
    dskFulErr = -34,
    nsvErr = -35,
    ioErr = -36,
    bdNamErr = -37,
    fnOpnErr = -38,
    eofErr = -39,
    posErr = -40,
    tmfoErr = -42,
    fnfErr = -43,
    wPrErr = -44,
    fLckdErr = -45,
    dupFNErr = -48,
    opWrErr = -49,
    paramErr = -50,
    rfNumErr = -51,
    permErr = -54,
    wrPermErr = -61,
    memFullErr = -108,
    nilHandleErr = -109,
    dirNFErr = -120,
    badFileFormat = -208,
    notAFileErr = -1302,
    errFSBadFSRef = -1401,
    unimpErr = -4,
};

/// Makes a four-character code from a four-character string literal: PvFourCC("WAVE").
constexpr FourCharCode PvFourCC(const char (&text)[5])
{
    return (FourCharCode(uint8_t(text[0])) << 24) | (FourCharCode(uint8_t(text[1])) << 16)
        | (FourCharCode(uint8_t(text[2])) << 8) | FourCharCode(uint8_t(text[3]));
}

/// Opaque reference to an existing file or folder (80 bytes). Only the platform layer
/// reads its contents; an all-zero FSRef names nothing.
struct FSRef {
    uint8_t hidden[80];
};

#pragma pack(push, 2)
/// A file named by volume, parent folder and Pascal-string name (at most 31 bytes of
/// name in the file system's 8-bit encoding, Mac Roman). 70 bytes, packed on 2 bytes.
struct FSSpec {
    int16_t vRefNum;
    int32_t parID;
    unsigned char name[64];
};
#pragma pack(pop)

/// A name of at most 255 UTF-16 units, as catalog calls return them.
struct HFSUniStr255 {
    uint16_t length;
    uint16_t unicode[255];
};

static_assert(sizeof(FSRef) == 80, "FSRef is an 80-byte record");
static_assert(sizeof(FSSpec) == 70, "FSSpec is 70 bytes packed on 2");
static_assert(offsetof(FSSpec, vRefNum) == 0 && offsetof(FSSpec, parID) == 2 && offsetof(FSSpec, name) == 6,
    "FSSpec field offsets");
static_assert(sizeof(Str255) == 256, "Str255 is 256 bytes");
static_assert(sizeof(HFSUniStr255) == 512, "HFSUniStr255 is 512 bytes");
static_assert(PvFourCC("WAVE") == 0x57415645u, "four-character codes are big-endian");

/// The symbolic name of a result code ("fnfErr"), or null for a code the framework does not know.
extern "C" const char* PvResultCodeName(OSStatus code);
/// A sentence saying what a result code means ("file not found"), or null for an unknown code.
extern "C" const char* PvResultCodeMeaning(OSStatus code);

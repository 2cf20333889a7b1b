// The naming rules of audio files: which extension names which container type, how the
// two halves of a stereo recording kept as two mono files are named (".L.aif"/".R.aif",
// "(L)"/"(R)", ".wal"/".war" and so on), and string operations that cut, set and ensure
// extensions, find a stereo partner and make a name unique in its folder.
//
// Names are zero-terminated byte strings in the file system's representation (UTF-8 on
// Linux). Suffixes and extensions are ASCII and are compared without regard to ASCII
// case. The in-place operations only ever shorten a name, except CFileUtilSetNewExtension,
// which is bounded by the buffer size it is given and never cuts a name inside a UTF-8
// character. The FSSpec forms work on the record's Pascal name, which holds one
// byte per character (Mac Roman), and keep it within 31 characters.
//
// The table and the string functions keep no state and may run on any thread; the
// functions that look at the file system (CFileUtilFileType, CFileUtilCheckDir,
// CFileUtilMakeFileNameUnique) use the process-wide catalog, which is thread-safe.
#pragma once

#include "AudioFileLabels.h"
#include "PvMacTypes.h"

#include <cstddef>
#include <cstdint>

#pragma pack(push, 2)
/// One row of the audio file type table: 30 bytes, packed on 2 bytes.
struct tAudioFileType {
    FourCharCode type; ///< file type code; 0 in the end row
    uint8_t suffixLength; ///< length of the stereo suffixes of this row
    char extension[7]; ///< zero-terminated extension with its dot, may be empty
    char leftSuffix[7]; ///< zero-terminated suffix of a left-channel file, may be empty
    char rightSuffix[7]; ///< zero-terminated suffix of a right-channel file, may be empty
    /// The display label, kept as a 32-bit index into the label texts so that the row
    /// keeps its 30-byte layout in a 64-bit process; read it with label().
    uint32_t labelIndex;

    /// The display label of the row ("AIFF File"): the exported label text without its
    /// leading blank. Never null.
    const char* label() const;
};
#pragma pack(pop)

static_assert(sizeof(tAudioFileType) == 30, "an audio file type row is 30 bytes");
static_assert(offsetof(tAudioFileType, suffixLength) == 4 && offsetof(tAudioFileType, extension) == 5
        && offsetof(tAudioFileType, leftSuffix) == 12 && offsetof(tAudioFileType, rightSuffix) == 19
        && offsetof(tAudioFileType, labelIndex) == 26,
    "audio file type row offsets");

/// Number of rows of audioFileTypes before the end row.
inline constexpr int kAudioFileTypeRows = 13;

/// Flags of CFileUtilHasStereoExtension.
enum : int {
    kStereoExtCut = 1, ///< cut the suffix that was found
    kStereoExtPosition = 2, ///< return the suffix's position instead of its index
    kStereoExtPlain = 4, ///< also test (and always cut) plain extensions: result -2
};

extern "C" {

/// The table of audio file types, in lookup order (first match wins), ended by a row
/// whose type is 0 and whose label is "Original Type".
extern const tAudioFileType audioFileTypes[kAudioFileTypeRows + 1];

/// The file type of the item an FSSpec names: the type of its Finder information when
/// the FSSpec has a volume, the item is a file and that type is not 0; otherwise the type
/// its name's extension maps to (text from the last '.', any case); 0 when none or for a
/// null FSSpec.
FourCharCode CFileUtilFileType(FSSpec* fsSpec);

/// The type that the extension of a zero-terminated name maps to (the text from its last
/// '.', any case), or 0. Null gives 0.
FourCharCode CFileUtilFileTypeFromName(const char* name);

/// Pointer to row `row` of audioFileTypes (the end row included), or null for a negative
/// row or one past the end row.
const tAudioFileType* CFileUtilAudioFileType(int row);

/// Pointer to the first row with the given type, or to the end row when none has it.
const tAudioFileType* CFileUtilGetPointAudioFileType(int32_t type);

/// The character position at which the stereo suffix of `name` begins, or -1 (also for
/// null). Only the first 255 bytes of the name are examined.
int CFileUtilGetPointExt(const char* name);

/// The suffix of stereo index `index` (row index >> 1; left when the lowest bit is 0,
/// else right). With `out` (at least 7 bytes) the suffix is copied there and `out` is
/// returned; `out` is made "" first. Without `out` a pointer into the table is returned.
/// Null for a negative index or one beyond the end row.
char* CFileUtilGetStereoExtension(char* out, int index);

/// Cuts every known audio extension and stereo suffix off the end of `name`, again and
/// again until none is left, testing rows in order and in each row the extension, then
/// the left, then the right suffix. True when at least one cut piece held a '.'
/// ("Drums.L.aif" becomes "Drums", true; "Bass(L)" becomes "Bass", false). Null: false.
bool CFileUtilCutKnownAudioFileExtension(char* name);

/// With `ext`: cuts it off when `name` is longer than it and ends with it (any case).
/// Without `ext`: cuts at the last '.' when 1 to 6 characters follow it and they are not
/// all digits ("Take.2" stays whole), or when the ending is ".aupreset" (any case).
/// Returns whether something was cut; false for a null name.
bool CFileUtilCutExtension(char* name, const char* ext);

/// Writes `ext` (null counts as "") at position min(bufSize - length(ext) - 1,
/// length(name)) of `name`, so that the result with its terminator fits in bufSize bytes:
/// the name is shortened when needed (at a character boundary when it is valid UTF-8),
/// never the extension. Returns where `ext` was written; null, leaving `name` untouched,
/// for a null name or when `ext` with its terminator does not fit in bufSize bytes.
char* CFileUtilSetNewExtension(char* name, const char* ext, int bufSize);

/// Cuts every known audio ending (CFileUtilCutKnownAudioFileExtension); when no piece cut
/// held a '.', cuts a plain extension (CFileUtilCutExtension without `ext`); then
/// CFileUtilSetNewExtension(name, ext, bufSize). Returns that function's result.
char* CFileUtilSetExtension(char* name, const char* ext, int bufSize);

/// Makes the FSSpec's name end in `ext` (with its dot): the name is first clamped to 31
/// characters; a name already ending in `ext` (any case) keeps it; otherwise all known
/// audio endings are cut and `ext` is set within 31 characters. Null arguments: no-op.
void CFileUtilEnsureFSSpecExtension(FSSpec* fsSpec, const char* ext);

/// CFileUtilSetExtension on the FSSpec's name, within 31 characters. Null FSSpec: no-op.
void CFileUtilSetFSSpecExtension(FSSpec* fsSpec, const char* ext);

/// CFileUtilSetNewExtension on the FSSpec's name, within 31 characters. Null FSSpec: no-op.
void CFileUtilSetNewFSSpecExtension(FSSpec* fsSpec, const char* ext);

/// Cuts all known audio endings off the FSSpec's name (clamped to 31 characters) and, when
/// no piece cut held a '.', a plain extension. Returns whether something with a dot was
/// cut. Null: false.
bool CFileUtilCutFSSpecExtension(FSSpec* fsSpec);

/// When the FSSpec's name has a stereo suffix, fills `partner` with the FSSpec whose suffix
/// is the other one of the same row (".L.aif" and ".R.aif") and returns true; whether the
/// partner exists is not checked. False (partner untouched) when there is no suffix or
/// an argument is null.
bool CFileUtilGetStereoPartnerFSSpec(FSSpec* fsSpec, FSSpec* partner);

/// For the FSSpec of a folder: rewrites it as (volume, the folder's own directory ID,
/// empty name) and returns noErr. Otherwise returns an error and leaves it unchanged:
/// paramErr for null, the catalog's error when nothing is there, dirNFErr for a file.
OSErr CFileUtilCheckDir(FSSpec* fsSpec);

/// Renames the FSSpec (only the record, not the item) until no file or folder of that name
/// exists in its folder and, for a stereo file, no partner file exists either unless the
/// partner is `except`. New names keep the extension and a ".L"/".R" marker before it
/// and put "#n" before them: "Vox.aif" becomes "Vox#1.aif", "Vox#7.aif" becomes
/// "Vox#8.aif", "Gtr.L.aif" becomes "Gtr#1.L.aif"; the base is shortened so the name
/// stays within 31 characters. Returns whether the name changed; false for a null FSSpec
/// or an empty name.
bool CFileUtilMakeFileNameUnique(FSSpec* fsSpec, FSSpec* except);

} // extern "C"

/// The stereo suffix test on `name` (changed in place when asked to cut). flags:
/// kStereoExtCut, kStereoExtPosition, kStereoExtPlain. Returns the stereo index
/// (2 x row + side, side 0 left and 1 right) or, with kStereoExtPosition, the position of
/// the suffix; -2 when a plain extension was found and cut (kStereoExtPlain); -1 when
/// nothing matched, for a name shorter than 3 characters and for null.
int CFileUtilHasStereoExtension(char* name, int flags);

/// The stereo index of a name's suffix, or -1 (also for null); the name is not changed
/// and only its first 255 bytes are examined.
int CFileUtilHasStereoExtension(const char* name);

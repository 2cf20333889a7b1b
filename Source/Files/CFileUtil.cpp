#include "CFileUtil.h"

#include "PvCatalog.h"
#include "PvFinderInfo.h"
#include "UTF8.h"

#include <QFile>

#include <cstdio>
#include <cstring>
#include <iterator>
#include <sys/stat.h>

namespace {

// Label texts by labelIndex; each skips the leading blank of the exported text.
const char* const kLabels[] = {
    strSDIIfile + 1,
    strAIFFfile + 1,
    strWavefile + 1,
    strCAFfile + 1,
    strMP3file + 1,
    strMP4file + 1,
    strM4Afile + 1,
    strOrigfile + 1,
};
enum : uint32_t { kSDII, kAIFF, kWave, kCAF, kMP3, kMP4, kM4A, kOrig };

// The longest name the FSSpec forms keep, and the buffer that holds it.
constexpr int kSpecNameMax = 31;
constexpr int kSpecNameBuffer = kSpecNameMax + 1;
// The longest copy the read-only stereo tests examine.
constexpr size_t kCopyMax = 255;

char lowerASCII(char c)
{
    return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c;
}

bool equalNoCase(const char* a, const char* b, size_t n)
{
    for (size_t i = 0; i < n; ++i)
        if (lowerASCII(a[i]) != lowerASCII(b[i]))
            return false;
    return true;
}

// Whether the last n bytes of a name of length len equal the first n bytes of piece.
bool endsWithNoCase(const char* name, size_t len, const char* piece, size_t n)
{
    return n <= len && equalNoCase(name + len - n, piece, n);
}

bool isContinuationByte(char c)
{
    return (uint8_t(c) & 0xC0) == 0x80;
}

// Copies at most kCopyMax bytes of a name into a buffer of kCopyMax + 1 bytes.
void copyName(char (&dst)[kCopyMax + 1], const char* src)
{
    size_t n = 0;
    while (n < kCopyMax && src[n])
        ++n;
    std::memcpy(dst, src, n);
    dst[n] = 0;
}

// The byte-exact core of CFileUtilSetNewExtension. With `characters` the cut position is
// moved back to the start of a UTF-8 character when the name is valid UTF-8.
char* setNewExtension(char* name, const char* ext, int bufSize, bool characters)
{
    if (!name)
        return nullptr;
    if (!ext)
        ext = "";
    const size_t extLen = std::strlen(ext);
    if (bufSize <= 0 || size_t(bufSize) < extLen + 1)
        return nullptr;
    const size_t nameLen = std::strlen(name);
    size_t at = size_t(bufSize) - extLen - 1;
    if (nameLen <= at) {
        at = nameLen;
    } else if (characters && utf8_check(name)) {
        while (at > 0 && isContinuationByte(name[at]))
            --at;
    }
    std::memmove(name + at, ext, extLen + 1);
    return name + at;
}

// The FSSpec's name as a zero-terminated string of at most 31 bytes.
void specName(const FSSpec* fsSpec, char (&out)[kSpecNameBuffer])
{
    size_t n = fsSpec->name[0];
    if (n > sizeof fsSpec->name - 1)
        n = sizeof fsSpec->name - 1;
    if (n > size_t(kSpecNameMax))
        n = kSpecNameMax;
    std::memcpy(out, fsSpec->name + 1, n);
    out[n] = 0; // a zero byte inside the Pascal name ends the text earlier
}

void setSpecName(FSSpec* fsSpec, const char* name)
{
    size_t n = std::strlen(name);
    if (n > size_t(kSpecNameMax))
        n = kSpecNameMax;
    fsSpec->name[0] = uint8_t(n);
    std::memcpy(fsSpec->name + 1, name, n);
}

bool sameSpec(const FSSpec* a, const FSSpec* b)
{
    if (a->vRefNum != b->vRefNum || a->parID != b->parID)
        return false;
    const size_t n = qMin<size_t>(a->name[0], sizeof a->name - 1);
    const size_t m = qMin<size_t>(b->name[0], sizeof b->name - 1);
    return n == m
        && equalNoCase(
            reinterpret_cast<const char*>(a->name + 1), reinterpret_cast<const char*>(b->name + 1), n);
}

// Whether any item (file, folder, link) of the FSSpec's name is in the FSSpec's folder.
bool itemExists(const FSSpec* fsSpec)
{
    if (fsSpec->name[0] == 0)
        return false;
    QString path;
    if (PvCatalog::SpecPath(fsSpec, &path) != noErr)
        return false;
    struct stat st;
    return ::lstat(QFile::encodeName(path).constData(), &st) == 0;
}

struct ExtensionType {
    const char* extension;
    FourCharCode type;
};

const ExtensionType kExtensionTypes[] = {
    {".sd2", PvFourCC("Sd2f")},
    {".aiff", PvFourCC("AIFF")},
    {".aif", PvFourCC("AIFF")},
    {".ail", PvFourCC("AIFF")},
    {".air", PvFourCC("AIFF")},
    {".wave", PvFourCC("WAVE")},
    {".wav", PvFourCC("WAVE")},
    {".war", PvFourCC("WAVE")},
    {".wal", PvFourCC("WAVE")},
    {".sd1", PvFourCC("SFIL")},
    {".caf", PvFourCC("caff")},
    {".aifc", PvFourCC("AIFF")}, // read by the same code as AIFF
    {".aac", PvFourCC("adts")},
    {".au", PvFourCC("NeXT")},
    {".ac3", PvFourCC("ac-3")},
    {".rex", PvFourCC("REX ")},
    {".rx2", PvFourCC("REX2")},
    {".rcy", PvFourCC("RCSO")},
    {".mp3", PvFourCC("MPG3")},
    {".mp4", PvFourCC("mpg4")},
    {".m4v", PvFourCC("mpg4")},
    {".m4a", PvFourCC("M4A ")},
    {".mov", PvFourCC("MooV")},
    {".dv", PvFourCC("MooV")},
    {".dvc", PvFourCC("MooV")},
    {".avi", PvFourCC("MooV")},
    {".mpg", PvFourCC("MooV")},
    {".mpeg", PvFourCC("MooV")},
    {".ubs", PvFourCC(".ubs")},
    {".midi", PvFourCC("Midi")},
    {".mid", PvFourCC("Midi")},
};

} // namespace

const char* tAudioFileType::label() const
{
    return labelIndex < std::size(kLabels) ? kLabels[labelIndex] : kLabels[kOrig];
}

extern "C" {

const tAudioFileType audioFileTypes[kAudioFileTypeRows + 1] = {
    {PvFourCC("Sd2f"), 6, ".sd2", ".L.sd2", ".R.sd2", kSDII},
    {PvFourCC("Sd2f"), 3, "", "(L)", "(R)", kSDII},
    {PvFourCC("Sd2f"), 2, "", ".L", ".R", kSDII},
    {PvFourCC("Sd2f"), 2, "", "-L", "-R", kSDII},
    {PvFourCC("AIFF"), 6, ".aif", ".L.aif", ".R.aif", kAIFF},
    {PvFourCC("AIFF"), 4, ".aif", ".ail", ".air", kAIFF},
    {PvFourCC("AIFF"), 5, ".aiff", "", "", kAIFF},
    {PvFourCC("WAVE"), 6, ".wav", ".L.wav", ".R.wav", kWave},
    {PvFourCC("WAVE"), 4, ".wav", ".wal", ".war", kWave},
    {PvFourCC("caff"), 6, ".caf", ".L.caf", ".R.caf", kCAF},
    {PvFourCC("MPG3"), 6, ".mp3", ".L.mp3", ".R.mp3", kMP3},
    {PvFourCC("mpg4"), 4, ".mp4", "", "", kMP4},
    {PvFourCC("M4A "), 6, ".m4a", ".L.m4a", ".R.m4a", kM4A},
    {0, 0, "", "", "", kOrig},
};

FourCharCode CFileUtilFileTypeFromName(const char* name)
{
    if (!name)
        return 0;
    const char* dot = std::strrchr(name, '.');
    if (!dot)
        return 0;
    const size_t n = std::strlen(dot);
    for (const ExtensionType& e : kExtensionTypes)
        if (std::strlen(e.extension) == n && equalNoCase(dot, e.extension, n))
            return e.type;
    return 0;
}

FourCharCode CFileUtilFileType(FSSpec* fsSpec)
{
    if (!fsSpec)
        return 0;
    if (fsSpec->vRefNum != 0 && fsSpec->name[0] != 0) {
        QString path;
        struct stat st;
        uint8_t info[32];
        if (PvCatalog::SpecPath(fsSpec, &path) == noErr
            && ::stat(QFile::encodeName(path).constData(), &st) == 0 && !S_ISDIR(st.st_mode)
            && PvReadFinderInfo(path, info) == noErr) {
            if (const FourCharCode type = PvFinderInfoFileType(info))
                return type;
        }
    }
    char name[kSpecNameBuffer];
    specName(fsSpec, name);
    return CFileUtilFileTypeFromName(name);
}

const tAudioFileType* CFileUtilAudioFileType(int row)
{
    if (row < 0 || row > kAudioFileTypeRows)
        return nullptr;
    return &audioFileTypes[row];
}

const tAudioFileType* CFileUtilGetPointAudioFileType(int32_t type)
{
    const tAudioFileType* row = audioFileTypes;
    while (row->type != 0 && row->type != FourCharCode(type))
        ++row;
    return row;
}

int CFileUtilGetPointExt(const char* name)
{
    if (!name)
        return -1;
    char copy[kCopyMax + 1];
    copyName(copy, name);
    return CFileUtilHasStereoExtension(copy, kStereoExtPosition);
}

char* CFileUtilGetStereoExtension(char* out, int index)
{
    if (out)
        out[0] = 0;
    if (index < 0 || (index >> 1) > kAudioFileTypeRows)
        return nullptr;
    const tAudioFileType& row = audioFileTypes[index >> 1];
    const char* suffix = (index & 1) ? row.rightSuffix : row.leftSuffix;
    if (!out)
        return const_cast<char*>(suffix);
    std::memcpy(out, suffix, sizeof row.leftSuffix);
    return out;
}

bool CFileUtilCutKnownAudioFileExtension(char* name)
{
    if (!name)
        return false;
    size_t len = std::strlen(name);
    bool cutDot = false;
    for (bool again = true; again;) {
        again = false;
        for (const tAudioFileType* row = audioFileTypes; row->type != 0 && !again; ++row) {
            for (const char* piece : {row->extension, row->leftSuffix, row->rightSuffix}) {
                const size_t n = std::strlen(piece);
                if (n == 0 || !endsWithNoCase(name, len, piece, n))
                    continue;
                len -= n;
                name[len] = 0;
                cutDot = cutDot || std::memchr(piece, '.', n) != nullptr;
                again = true;
                break;
            }
        }
    }
    return cutDot;
}

bool CFileUtilCutExtension(char* name, const char* ext)
{
    if (!name)
        return false;
    const size_t len = std::strlen(name);
    if (ext) {
        const size_t n = std::strlen(ext);
        if (len > n && endsWithNoCase(name, len, ext, n)) {
            name[len - n] = 0;
            return true;
        }
        return false;
    }
    char* dot = std::strrchr(name, '.');
    if (!dot)
        return false;
    const size_t after = len - size_t(dot - name) - 1;
    bool allDigits = true;
    for (const char* c = dot + 1; *c; ++c)
        allDigits = allDigits && *c >= '0' && *c <= '9';
    if (allDigits)
        return false;
    if (after < 7 || (after == 8 && equalNoCase(dot, ".aupreset", 9))) {
        *dot = 0;
        return true;
    }
    return false;
}

char* CFileUtilSetNewExtension(char* name, const char* ext, int bufSize)
{
    return setNewExtension(name, ext, bufSize, true);
}

char* CFileUtilSetExtension(char* name, const char* ext, int bufSize)
{
    if (!name)
        return nullptr;
    if (!CFileUtilCutKnownAudioFileExtension(name))
        CFileUtilCutExtension(name, nullptr);
    return CFileUtilSetNewExtension(name, ext, bufSize);
}

void CFileUtilEnsureFSSpecExtension(FSSpec* fsSpec, const char* ext)
{
    if (!fsSpec || !ext)
        return;
    char name[kSpecNameBuffer];
    specName(fsSpec, name);
    const size_t n = std::strlen(ext);
    if (!endsWithNoCase(name, std::strlen(name), ext, n)) {
        CFileUtilCutKnownAudioFileExtension(name);
        setNewExtension(name, ext, kSpecNameBuffer, false);
    }
    setSpecName(fsSpec, name);
}

void CFileUtilSetFSSpecExtension(FSSpec* fsSpec, const char* ext)
{
    if (!fsSpec)
        return;
    char name[kSpecNameBuffer];
    specName(fsSpec, name);
    if (!CFileUtilCutKnownAudioFileExtension(name))
        CFileUtilCutExtension(name, nullptr);
    setNewExtension(name, ext, kSpecNameBuffer, false);
    setSpecName(fsSpec, name);
}

void CFileUtilSetNewFSSpecExtension(FSSpec* fsSpec, const char* ext)
{
    if (!fsSpec)
        return;
    char name[kSpecNameBuffer];
    specName(fsSpec, name);
    setNewExtension(name, ext, kSpecNameBuffer, false);
    setSpecName(fsSpec, name);
}

bool CFileUtilCutFSSpecExtension(FSSpec* fsSpec)
{
    if (!fsSpec)
        return false;
    char name[kSpecNameBuffer];
    specName(fsSpec, name);
    bool cut = CFileUtilCutKnownAudioFileExtension(name);
    if (!cut)
        cut = CFileUtilCutExtension(name, nullptr);
    setSpecName(fsSpec, name);
    return cut;
}

bool CFileUtilGetStereoPartnerFSSpec(FSSpec* fsSpec, FSSpec* partner)
{
    if (!fsSpec || !partner)
        return false;
    char name[kSpecNameBuffer];
    specName(fsSpec, name);
    const int index = CFileUtilHasStereoExtension(name, 0);
    if (index < 0)
        return false;
    const tAudioFileType& row = audioFileTypes[index >> 1];
    const size_t at = std::strlen(name) - row.suffixLength;
    // Both suffixes of a row have the same length, so the name keeps its length.
    std::memcpy(name + at, (index & 1) ? row.leftSuffix : row.rightSuffix, row.suffixLength);
    const FSSpec source = *fsSpec;
    *partner = source;
    setSpecName(partner, name);
    return true;
}

OSErr CFileUtilCheckDir(FSSpec* fsSpec)
{
    if (!fsSpec)
        return paramErr;
    FSRef ref;
    if (OSErr err = PvCatalog::SpecRef(fsSpec, &ref))
        return err;
    int32_t dirID = 0;
    if (OSErr err = PvCatalog::RefFolderID(&ref, &dirID))
        return err;
    FSSpec folder;
    if (OSErr err = PvCatalog::RefSpec(&ref, &folder))
        return err;
    fsSpec->vRefNum = folder.vRefNum;
    fsSpec->parID = dirID;
    std::memset(fsSpec->name, 0, sizeof fsSpec->name);
    return noErr;
}

bool CFileUtilMakeFileNameUnique(FSSpec* fsSpec, FSSpec* except)
{
    if (!fsSpec || fsSpec->name[0] == 0)
        return false;
    bool changed = false;
    int64_t counter = 1;
    // Every pass makes a name no earlier pass made, so the search ends when the folder
    // runs out of names; the bound only guards against a folder that keeps filling up.
    for (int pass = 0; pass < 1000000; ++pass) {
        bool taken = itemExists(fsSpec);
        if (!taken) {
            FSSpec partner;
            if (CFileUtilGetStereoPartnerFSSpec(fsSpec, &partner) && !(except && sameSpec(&partner, except)))
                taken = itemExists(&partner);
        }
        if (!taken)
            break;

        char name[kSpecNameBuffer];
        specName(fsSpec, name);
        size_t baseLen = std::strlen(name);
        // The kept ending: the extension and a ".L"/".R" marker just before it.
        const char* dot = std::strrchr(name, '.');
        if (dot) {
            baseLen = size_t(dot - name);
            if (baseLen >= 2 && name[baseLen - 2] == '.'
                && (name[baseLen - 1] == 'L' || name[baseLen - 1] == 'R' || name[baseLen - 1] == 'l'
                    || name[baseLen - 1] == 'r'))
                baseLen -= 2;
        }
        char kept[kSpecNameBuffer];
        std::memcpy(kept, name + baseLen, std::strlen(name) - baseLen + 1);

        // A base ending in "#<digits>" counts on from its number; otherwise the counter.
        int64_t number = counter++;
        size_t hash = baseLen;
        while (hash > 0 && name[hash - 1] >= '0' && name[hash - 1] <= '9')
            --hash;
        if (hash > 0 && hash < baseLen && name[hash - 1] == '#') {
            int64_t read = 0;
            for (size_t i = hash; i < baseLen && read < INT32_MAX; ++i)
                read = read * 10 + (name[i] - '0');
            number = read + 1;
            baseLen = hash - 1;
        }
        char numeral[24];
        const int numeralLen
            = std::snprintf(numeral, sizeof numeral, "#%lld", static_cast<long long>(number));
        size_t keptLen = std::strlen(kept);
        if (size_t(numeralLen) + keptLen > size_t(kSpecNameMax)) {
            // Only an absurdly long extension gets here: it gives way to the numeral.
            keptLen = size_t(kSpecNameMax) - size_t(numeralLen);
            kept[keptLen] = 0;
        }
        if (baseLen + size_t(numeralLen) + keptLen > size_t(kSpecNameMax))
            baseLen = size_t(kSpecNameMax) - size_t(numeralLen) - keptLen;
        char next[kSpecNameBuffer];
        std::memcpy(next, name, baseLen);
        std::memcpy(next + baseLen, numeral, size_t(numeralLen));
        std::memcpy(next + baseLen + size_t(numeralLen), kept, keptLen + 1);
        setSpecName(fsSpec, next);
        changed = true;
    }
    return changed;
}

} // extern "C"

int CFileUtilHasStereoExtension(char* name, int flags)
{
    if (!name)
        return -1;
    const size_t len = std::strlen(name);
    if (len < 3)
        return -1;
    for (int row = 0; audioFileTypes[row].type != 0; ++row) {
        const tAudioFileType& r = audioFileTypes[row];
        const size_t n = r.suffixLength;
        for (int side = 0; side < 2; ++side) {
            const char* suffix = side ? r.rightSuffix : r.leftSuffix;
            if (suffix[0] == 0 || std::strlen(suffix) != n || !endsWithNoCase(name, len, suffix, n))
                continue;
            if (flags & kStereoExtCut)
                name[len - n] = 0;
            return (flags & kStereoExtPosition) ? int(len - n) : 2 * row + side;
        }
    }
    if (flags & kStereoExtPlain) {
        for (const tAudioFileType* r = audioFileTypes; r->type != 0; ++r) {
            if (r->extension[0] == 0)
                continue;
            const size_t k = r->suffixLength < 6 ? r->suffixLength : 4;
            if (std::strlen(r->extension) < k || !endsWithNoCase(name, len, r->extension, k))
                continue;
            name[len - k] = 0;
            return -2;
        }
    }
    return -1;
}

int CFileUtilHasStereoExtension(const char* name)
{
    if (!name)
        return -1;
    char copy[kCopyMax + 1];
    copyName(copy, name);
    return CFileUtilHasStereoExtension(copy, 0);
}

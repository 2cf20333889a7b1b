#include "CFileRef.h"

#include "FileAlias.h"
#include "KeyedArchive_p.h"
#include "PvCatalog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>
#include <QStringEncoder>
#include <QVariantMap>

#include <cstring>

namespace {

constexpr qsizetype kPathBufferSize = 1024; // the file-system representation buffer of GetPath()
constexpr int kMaxURLNesting = 8; // NS.base chains followed when reading a URL archive

QString withoutTrailingSlashes(QString path)
{
    while (path.size() > 1 && path.endsWith(QLatin1Char('/')))
        path.chop(1);
    return path;
}

// A file URL for a POSIX path; folders end in '/'. Relative paths are taken from the
// current folder, as the platform's URL routines do with their base URL.
QUrl urlFromPosixPath(const QString& path, bool isDirectory)
{
    if (path.isEmpty())
        return {};
    QString absolute = QDir::isAbsolutePath(path) ? path : QDir::currentPath() + QLatin1Char('/') + path;
    absolute = withoutTrailingSlashes(absolute);
    if (isDirectory && absolute != QLatin1String("/"))
        absolute += QLatin1Char('/');
    return QUrl::fromLocalFile(absolute);
}

// Windows-style paths as the platform URL routines read them: drive paths become
// file:///C:/..., UNC paths file://host/share/..., other paths are POSIX-like.
QUrl urlFromWindowsPath(QString path, bool isDirectory)
{
    if (path.isEmpty())
        return {};
    path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    if (path.size() >= 2 && path[1] == QLatin1Char(':') && path[0].isLetter())
        return urlFromPosixPath(QLatin1Char('/') + path, isDirectory);
    if (path.startsWith(QLatin1String("//"))) {
        const qsizetype slash = path.indexOf(QLatin1Char('/'), 2);
        const QString host = path.mid(2, slash < 0 ? -1 : slash - 2);
        QString rest = slash < 0 ? QStringLiteral("/") : withoutTrailingSlashes(path.mid(slash));
        if (isDirectory && !rest.endsWith(QLatin1Char('/')))
            rest += QLatin1Char('/');
        QUrl url;
        url.setScheme(QStringLiteral("file"));
        url.setHost(host);
        url.setPath(rest);
        return url.isValid() ? url : QUrl();
    }
    return urlFromPosixPath(path, isDirectory);
}

QString windowsPathFromURL(const QUrl& url)
{
    QString path = withoutTrailingSlashes(url.path(QUrl::FullyDecoded));
    QString result;
    if (!url.host().isEmpty()) {
        result = QLatin1String("//") + url.host() + path;
    } else if (path.size() >= 3 && path[0] == QLatin1Char('/') && path[1].isLetter()
        && path[2] == QLatin1Char(':')) {
        result = path.mid(1);
        if (result.size() == 2)
            result += QLatin1Char('/'); // the root of a drive: "C:\"
    } else {
        result = path;
    }
    result.replace(QLatin1Char('/'), QLatin1Char('\\'));
    return result;
}

bool urlIsFolder(const QUrl& url)
{
    return url.path().endsWith(QLatin1Char('/'));
}

// The POSIX path a file URL names (a folder's keeps its trailing '/'); empty otherwise.
QString posixPathOf(const QUrl& url)
{
    if (url.isEmpty() || !url.isLocalFile())
        return {};
    return url.toLocalFile();
}

bool resolveURL(const QUrl& url, FSRef* out)
{
    const QString path = posixPathOf(url);
    if (path.isEmpty())
        return false;
    FSRef ref;
    if (PvCatalog::MakeRef(withoutTrailingSlashes(path), &ref) != noErr)
        return false;
    *out = ref;
    return true;
}

bool catalogHas(const FSRef& ref)
{
    QString path;
    return PvCatalog::RefPath(&ref, &path) == noErr;
}

QUrl urlFromRef(const FSRef* ref)
{
    QString path;
    bool isFolder = false;
    if (PvCatalog::RefPath(ref, &path, &isFolder) != noErr)
        return {};
    return urlFromPosixPath(path, isFolder);
}

void writeBigEndian(unsigned char* p, uint32_t value)
{
    p[0] = uint8_t(value >> 24);
    p[1] = uint8_t(value >> 16);
    p[2] = uint8_t(value >> 8);
    p[3] = uint8_t(value);
}

uint32_t readBigEndian(const unsigned char* p)
{
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | uint32_t(p[3]);
}

// A URL object from the fields of a keyed archive of NSURL.
QUrl urlFromArchive(const QVariantMap& fields, int depth)
{
    if (depth > kMaxURLNesting
        || fields.value(QStringLiteral("$classname")).toString() != QLatin1String("NSURL"))
        return {};
    const QVariant relative = fields.value(QStringLiteral("NS.relative"));
    if (relative.typeId() != QMetaType::QString)
        return {};
    QUrl url(relative.toString(), QUrl::StrictMode);
    const QVariant base = fields.value(QStringLiteral("NS.base"));
    if (base.typeId() == QMetaType::QVariantMap) {
        const QUrl baseURL = urlFromArchive(base.toMap(), depth + 1);
        if (baseURL.isEmpty())
            return {};
        url = baseURL.resolved(url);
    }
    return url.isValid() ? url : QUrl();
}

} // namespace

// ---- Construction ------------------------------------------------------------------

CFileRef::CFileRef()
{
    Init();
}

CFileRef::CFileRef(const FSSpec* fsSpec)
{
    Init();
    Set(fsSpec);
}

CFileRef::CFileRef(const FSRef* ref)
{
    Init();
    Set(ref);
}

CFileRef::CFileRef(const char* path, tPathStyle style, unsigned char isDirectory)
{
    Init();
    Set(path, style, isDirectory);
}

CFileRef::CFileRef(const char* posixPath, unsigned char isDirectory)
{
    Init();
    Set(posixPath, isDirectory);
}

CFileRef::CFileRef(int16_t vRefNum, int32_t dirID, unsigned char* pascalName)
{
    Init();
    Set(vRefNum, dirID, pascalName);
}

CFileRef::CFileRef(const QString& path, tPathStyle style, unsigned char isDirectory)
{
    Init();
    Set(path, style, isDirectory);
}

CFileRef::CFileRef(const QString& dirPath, const QString& name)
{
    Init();
    Set(dirPath, name);
}

CFileRef::CFileRef(const CFileRef& other)
{
    Init();
    const QUrl url = other.mURL;
    if (!url.isEmpty())
        Set(url);
}

CFileRef& CFileRef::operator=(const CFileRef& other)
{
    const QUrl url = other.mURL; // taken first: other may be this reference
    ReInit();
    if (!url.isEmpty())
        Set(url);
    return *this;
}

CFileRef::~CFileRef()
{
    ReInit();
}

void CFileRef::Init()
{
    mURL = QUrl();
    mValid = 0;
    mPath = nullptr;
    std::memset(&mFSRef, 0, sizeof mFSRef);
}

void CFileRef::ReInit()
{
    mURL = QUrl();
    delete[] mPath;
    mPath = nullptr;
    mValid = 0;
    std::memset(&mFSRef, 0, sizeof mFSRef);
}

// ---- Setting -----------------------------------------------------------------------

void CFileRef::setFromURL(const QUrl& url)
{
    mURL = url;
    mValid = kURLValid;
    FSRef ref;
    if (resolveURL(mURL, &ref)) {
        mFSRef = ref;
        mValid |= kFSRefValid;
    } else {
        std::memset(&mFSRef, 0, sizeof mFSRef);
    }
}

bool CFileRef::Set(const FSRef* ref)
{
    ReInit();
    if (!ref)
        return false;
    const QUrl url = urlFromRef(ref);
    if (url.isEmpty())
        return false;
    mFSRef = *ref;
    mValid = kFSRefValid | kURLValid;
    mURL = url;
    return true;
}

bool CFileRef::Set(const FSSpec* fsSpec)
{
    ReInit();
    if (!fsSpec || !CheckVRefNum(fsSpec)) {
        ReInit();
        return false;
    }
    const QUrl url = urlFromRef(&mFSRef);
    if (url.isEmpty()) {
        ReInit();
        return false;
    }
    mValid = kFSRefValid | kURLValid;
    mURL = url;
    return true;
}

bool CFileRef::Set(int16_t vRefNum, int32_t dirID, unsigned char* pascalName)
{
    FSSpec fsSpec;
    PvCatalog::MakeSpec(vRefNum, dirID, pascalName, &fsSpec); // a FSSpec of a missing item still tells where
    return Set(&fsSpec);
}

bool CFileRef::Set(const char* posixPath, unsigned char isDirectory)
{
    ReInit();
    if (!posixPath || !*posixPath)
        return false;
    const QUrl url = urlFromPosixPath(
        QFile::decodeName(QByteArray(posixPath, qsizetype(std::strlen(posixPath)))), isDirectory != 0);
    if (url.isEmpty())
        return false;
    setFromURL(url);
    return true;
}

bool CFileRef::Set(const QUrl& url)
{
    const QUrl adopted = url; // url may be our own
    ReInit();
    if (adopted.isEmpty() || !adopted.isValid() || !adopted.isLocalFile())
        return false;
    setFromURL(adopted);
    return true;
}

bool CFileRef::Set(const QUrl& url, unsigned char isDirectory)
{
    const QString path = posixPathOf(url);
    ReInit();
    const QUrl normalised = urlFromPosixPath(path, isDirectory != 0);
    if (normalised.isEmpty())
        return false;
    setFromURL(normalised);
    return true;
}

bool CFileRef::Set(const QString& path, tPathStyle style, unsigned char isDirectory)
{
    const QString text = path; // path may point into our own state
    ReInit();
    QUrl url;
    if (style == kPathStylePOSIX)
        url = urlFromPosixPath(text, isDirectory != 0);
    else if (style == kPathStyleHFS)
        url = urlFromPosixPath(PvCatalog::PosixPathFromHFS(text), isDirectory != 0);
    else
        url = urlFromWindowsPath(text, isDirectory != 0);
    if (url.isEmpty())
        return false;
    setFromURL(url);
    return true;
}

bool CFileRef::Set(const char* path, tPathStyle style, unsigned char isDirectory)
{
    const QByteArray bytes(path ? path : "");
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = utf8(bytes);
    if (utf8.hasError()) {
        QStringDecoder utf16(QStringDecoder::Utf16LE, QStringDecoder::Flag::Stateless);
        text = utf16(bytes);
        if (utf16.hasError() || bytes.size() % 2 != 0) {
            ReInit();
            return false;
        }
    }
    return Set(text, style, isDirectory);
}

bool CFileRef::Set(const QString& dirPath, const QString& name)
{
    if (name.isNull())
        return Set(dirPath, kPathStylePOSIX, 1);
    return Set(dirPath + QLatin1Char('/') + name, kPathStylePOSIX, 0);
}

bool CFileRef::Set(const CFileRef& other, unsigned char isDirectory)
{
    const QUrl url = other.mURL;
    return Set(url, isDirectory);
}

// ---- Querying ----------------------------------------------------------------------

bool CFileRef::GetFSRef(FSRef* out) const
{
    if (!out)
        return false;
    if ((mValid & kFSRefValid) && catalogHas(mFSRef)) {
        *out = mFSRef;
        return true;
    }
    return resolveURL(mURL, out);
}

bool CFileRef::Exists()
{
    if ((mValid & kFSRefValid) && catalogHas(mFSRef))
        return true;
    FSRef ref;
    if (resolveURL(mURL, &ref)) {
        mFSRef = ref;
        mValid |= kFSRefValid;
        return true;
    }
    std::memset(&mFSRef, 0, sizeof mFSRef);
    mValid &= ~uint32_t(kFSRefValid);
    return false;
}

bool CFileRef::GetFSSpec(FSSpec* out)
{
    if (!out || !Exists())
        return false;
    return PvCatalog::RefSpec(&mFSRef, out) == noErr;
}

// The FSSpec of the folder that holds the item, rewritten as (volume, the folder's own
// directory ID, empty name), found from the URL alone.
bool CFileRef::folderSpecOfParent(FSSpec* out)
{
    QString path = withoutTrailingSlashes(posixPathOf(mURL));
    if (path.isEmpty() || path == QLatin1String("/"))
        return false;
    path = path.left(path.lastIndexOf(QLatin1Char('/')));
    if (path.isEmpty())
        path = QStringLiteral("/");
    FSRef folder;
    FSSpec fsSpec;
    int32_t dirID = 0;
    if (PvCatalog::MakeRef(path, &folder) != noErr || PvCatalog::RefSpec(&folder, &fsSpec) != noErr)
        return false;
    // The folder check: the FSSpec must name a folder, which then stands for its contents.
    FSRef checked;
    if (PvCatalog::SpecRef(&fsSpec, &checked) != noErr || PvCatalog::RefFolderID(&checked, &dirID) != noErr)
        return false;
    fsSpec.parID = dirID;
    fsSpec.name[0] = 0;
    *out = fsSpec;
    return true;
}

int32_t CFileRef::GetParID()
{
    FSSpec fsSpec;
    if (!(mValid & kFSRefValid))
        return folderSpecOfParent(&fsSpec) ? fsSpec.parID : -1;
    return GetFSSpec(&fsSpec) ? fsSpec.parID : -1;
}

int16_t CFileRef::GetVolumeRefNumber()
{
    FSSpec fsSpec;
    if (!(mValid & kFSRefValid))
        return folderSpecOfParent(&fsSpec) ? fsSpec.vRefNum : int16_t(32767);
    return GetFSSpec(&fsSpec) ? fsSpec.vRefNum : int16_t(32767);
}

const char* CFileRef::GetPath()
{
    delete[] mPath;
    mPath = nullptr;
    const QString path = posixPathOf(mURL);
    if (path.isEmpty())
        return nullptr;
    QByteArray bytes = QFile::encodeName(path);
    if (bytes.size() >= kPathBufferSize)
        return nullptr;
    while (bytes.endsWith('/'))
        bytes.chop(1);
    mPath = new char[size_t(bytes.size()) + 1];
    std::memcpy(mPath, bytes.constData(), size_t(bytes.size()) + 1);
    return mPath;
}

bool CFileRef::GetPath(char* buf, uint32_t size) const
{
    const QString path = posixPathOf(mURL);
    if (!buf || path.isEmpty())
        return false;
    const QByteArray bytes = QFile::encodeName(path);
    if (uint64_t(bytes.size()) + 1 > size)
        return false;
    std::memcpy(buf, bytes.constData(), size_t(bytes.size()) + 1);
    return true;
}

QString CFileRef::GetFileSystemPath(tPathStyle style) const
{
    const QString path = posixPathOf(mURL);
    if (path.isEmpty())
        return {};
    if (style == kPathStylePOSIX)
        return withoutTrailingSlashes(path);
    if (style == kPathStyleHFS)
        return PvCatalog::HFSPathFromPosix(withoutTrailingSlashes(path), urlIsFolder(mURL));
    return windowsPathFromURL(mURL);
}

QString CFileRef::FileName() const
{
    if (mURL.isEmpty())
        return {};
    const QString path = withoutTrailingSlashes(mURL.path(QUrl::FullyDecoded));
    if (path == QLatin1String("/"))
        return path;
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

char* CFileRef::GetFileName(char* buf, int32_t size) const
{
    const QString path = posixPathOf(mURL);
    if (!buf || path.isEmpty())
        return nullptr;
    QByteArray bytes = QFile::encodeName(path);
    while (bytes.endsWith('/'))
        bytes.chop(1);
    bytes = bytes.mid(bytes.lastIndexOf('/') + 1);
    if (size < 1 || bytes.size() + 1 > size)
        return nullptr;
    std::memcpy(buf, bytes.constData(), size_t(bytes.size()) + 1);
    return buf;
}

bool CFileRef::UnicodeFileName(HFSUniStr255* out)
{
    if (!out || !Exists())
        return false;
    return PvCatalog::RefUnicodeName(&mFSRef, out) == noErr;
}

bool CFileRef::PathContains(CFileRef& other)
{
    const char* mine = GetPath();
    if (!mine)
        return false;
    const QString outer = QFile::decodeName(mine);
    const char* theirs = other.GetPath();
    if (!theirs)
        return false;
    const QString inner = QFile::decodeName(theirs);
    if (outer.size() > inner.size())
        return false;
    // The start-up volume's root does not contain the other volumes mounted below it.
    if (outer.isEmpty() && inner.startsWith(QLatin1String("/Volumes/"), Qt::CaseInsensitive))
        return false;
    if (outer.size() == inner.size())
        return outer.compare(inner, Qt::CaseInsensitive) == 0;
    return inner.startsWith(outer, Qt::CaseInsensitive) && inner[outer.size()] == QLatin1Char('/');
}

void CFileRef::ReplaceExtensionBy(const char* ext)
{
    const char* current = GetPath();
    if (!current || !ext)
        return;
    QByteArray path(current);
    const qsizetype dot = path.lastIndexOf('.');
    const qsizetype slash = path.lastIndexOf('/');
    if (dot < 0 || dot < slash || dot == path.size() - 1)
        return;
    path = path.left(dot + 1) + QByteArray(ext);
    Set(path.constData(), 1);
}

bool CFileRef::CheckVRefNum(const FSSpec* fsSpec)
{
    if (!fsSpec)
        return false;
    FSRef ref;
    if (!catalogHas(mFSRef) && PvCatalog::SpecRef(fsSpec, &ref) == noErr) {
        mFSRef = ref;
        return true;
    }
    // Volume numbers change when volumes are mounted again: look on every other volume.
    PvVolumeInfo volume;
    for (int index = 1; PvCatalog::VolumeInfoByIndex(index, &volume) == noErr; ++index) {
        if (volume.vRefNum == fsSpec->vRefNum)
            continue;
        FSSpec moved = *fsSpec;
        moved.vRefNum = volume.vRefNum;
        if (PvCatalog::SpecRef(&moved, &ref) == noErr) {
            mFSRef = ref;
            return true;
        }
    }
    return false;
}

// ---- Plain functions ---------------------------------------------------------------

void* CFileRefCreate(FSSpec* fsSpec)
{
    return fsSpec ? new CFileRef(fsSpec) : nullptr;
}

void* CFileRefCreate(FSRef* ref)
{
    return ref ? new CFileRef(ref) : nullptr;
}

void* CFileRefCreate(char* path, tPathStyle style, unsigned char isDirectory)
{
    return path ? new CFileRef(path, style, isDirectory) : nullptr;
}

extern "C" {

void CFileRefDelete(void* ref)
{
    delete static_cast<CFileRef*>(ref);
}

bool CFileRefExists(void* ref)
{
    return ref && static_cast<CFileRef*>(ref)->Exists();
}

bool CFileRefGetFSRef(void* ref, FSRef* out)
{
    return ref && out && static_cast<CFileRef*>(ref)->GetFSRef(out);
}

bool CFileRefGetFSSpec(void* ref, FSSpec* out)
{
    return ref && out && static_cast<CFileRef*>(ref)->GetFSSpec(out);
}

bool CFileRefGetPath(void* ref, char* buf, uint32_t size)
{
    return ref && buf && static_cast<CFileRef*>(ref)->GetPath(buf, size);
}

} // extern "C"

OSErr PathToFSRef(const QString& path, FSRef* out)
{
    if (!out)
        return paramErr;
    const QUrl url = urlFromPosixPath(path, false);
    if (url.isEmpty())
        return fnfErr;
    return resolveURL(url, out) ? noErr : fnfErr;
}

// ---- Serialisation -----------------------------------------------------------------

int CFileRefToData(const CFileRef& ref, unsigned char** outData, uint32_t* outSize)
{
    if (!outData || !outSize)
        return 0;
    QByteArray alias;
    FSRef fsRef;
    if (ref.GetFSRef(&fsRef)) {
        FileAlias fileAlias;
        if (fileAlias.initWithFSRef(&fsRef))
            alias = fileAlias.encodeWithCoder();
    }
    QByteArray urlBytes;
    if (!ref.mURL.isEmpty()) {
        // Text encoding 256: UTF-16 in the byte order of the Intel build, after a mark.
        QStringEncoder utf16(QStringEncoder::Utf16LE, QStringEncoder::Flag::WriteBom);
        urlBytes = utf16(QString::fromLatin1(ref.mURL.toEncoded()));
    }
    const uint32_t a = uint32_t(alias.size());
    const uint32_t u = uint32_t(urlBytes.size());
    auto* block = new unsigned char[8 + size_t(a) + size_t(u)];
    writeBigEndian(block, a);
    writeBigEndian(block + 4, u);
    std::memcpy(block + 8, alias.constData(), a);
    std::memcpy(block + 8 + a, urlBytes.constData(), u);
    *outData = block;
    *outSize = 8 + a + u;
    return 0;
}

int CFileRefFromData(CFileRef& ref, unsigned char* data)
{
    if (!data) {
        ref.ReInit();
        return 0;
    }
    const uint64_t total = 8 + uint64_t(readBigEndian(data)) + uint64_t(readBigEndian(data + 4));
    if (total > UINT32_MAX) {
        ref.ReInit();
        return 0;
    }
    return CFileRefFromData(ref, data, uint32_t(total));
}

int CFileRefFromData(CFileRef& ref, const unsigned char* data, uint32_t size)
{
    ref.ReInit();
    if (!data || size < 8)
        return 0;
    const uint32_t a = readBigEndian(data);
    const uint32_t u = readBigEndian(data + 4);
    if (uint64_t(8) + a + u > size)
        return 0;
    if (a > 0) {
        FileAlias alias;
        if (alias.initWithCoder(
                QByteArray::fromRawData(reinterpret_cast<const char*>(data + 8), qsizetype(a)))) {
            const QString path = alias.filePath(nullptr);
            const QFileInfo info(path);
            if (!path.isEmpty() && info.exists()) {
                ref.Set(path, kPathStylePOSIX, info.isDir() ? 1 : 0);
                return 0;
            }
        }
    }
    if (u == 0)
        return 0;
    QString className;
    QVariantMap fields;
    const QByteArray urlPart
        = QByteArray::fromRawData(reinterpret_cast<const char*>(data + 8 + a), qsizetype(u));
    if (PvKeyedArchive::unarchive(urlPart, &className, &fields)) {
        fields.insert(QStringLiteral("$classname"), className);
        const QUrl url = urlFromArchive(fields, 0);
        if (!url.isEmpty())
            ref.Set(url);
    }
    return 0;
}

#include "FileAlias.h"

#include "CFileRef.h"
#include "KeyedArchive_p.h"
#include "PvAlias.h"
#include "PvCatalog.h"

#include <QVariantMap>

#include <cstdio>

namespace {

const QString kClassName = QStringLiteral("FileAlias");
const QString kAliasKey = QStringLiteral("aliasHandle");

void storeError(OSStatus* error, OSStatus code)
{
    if (error)
        *error = code;
}

} // namespace

bool FileAlias::initWithAliasHandle(const QByteArray& aliasHandle)
{
    m_alias = aliasHandle;
    return !m_alias.isEmpty();
}

bool FileAlias::initWithFSRef(const FSRef* target, const FSRef* relativeTo)
{
    m_alias.clear();
    QByteArray record;
    if (PvNewAlias(target, relativeTo, &record) != noErr)
        return false;
    m_alias = record;
    return true;
}

bool FileAlias::initWithFilePath(const QString& targetPath, OSStatus* error)
{
    return initWithFilePath(targetPath, QString(), error);
}

bool FileAlias::initWithFilePath(const QString& targetPath, const QString& relativeToPath, OSStatus* error)
{
    m_alias.clear();
    if (targetPath.isNull()) {
        std::fprintf(stderr, "Invalid parameter not satisfying: %s\n", "targetPath");
        storeError(error, paramErr);
        return false;
    }
    FSRef target;
    if (OSErr err = PathToFSRef(targetPath, &target)) {
        storeError(error, err);
        return false;
    }
    FSRef from;
    if (!relativeToPath.isNull()) {
        if (OSErr err = PathToFSRef(relativeToPath, &from)) {
            storeError(error, err);
            return false;
        }
    }
    QByteArray record;
    if (OSErr err = PvNewAlias(&target, relativeToPath.isNull() ? nullptr : &from, &record)) {
        storeError(error, err);
        return false;
    }
    m_alias = record;
    return true;
}

QString FileAlias::filePath(OSStatus* error) const
{
    return filePathRelativeToPath(QString(), error);
}

QString FileAlias::filePathRelativeToPath(const QString& relativePath, OSStatus* error) const
{
    FSRef from;
    if (!relativePath.isNull()) {
        if (OSErr err = PathToFSRef(relativePath, &from)) {
            storeError(error, err);
            return {};
        }
    }
    FSRef target;
    if (OSErr err = PvResolveAlias(m_alias, relativePath.isNull() ? nullptr : &from, &target, nullptr)) {
        storeError(error, err);
        return {};
    }
    QString path;
    if (PvCatalog::RefPath(&target, &path) != noErr || path.isEmpty()) {
        storeError(error, fnfErr);
        return {};
    }
    return path;
}

QByteArray FileAlias::encodeWithCoder() const
{
    return PvKeyedArchive::archive(kClassName, {{kAliasKey, m_alias}});
}

bool FileAlias::initWithCoder(const QByteArray& archive)
{
    m_alias.clear();
    QString className;
    QVariantMap fields;
    if (!PvKeyedArchive::unarchive(archive, &className, &fields) || className != kClassName)
        return false;
    const QVariant value = fields.value(kAliasKey);
    if (value.typeId() != QMetaType::QByteArray)
        return false;
    m_alias = value.toByteArray();
    return !m_alias.isEmpty();
}

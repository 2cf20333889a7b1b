#include "PVPluginSearch.h"

#include "PvFileManager.h"
#include "PvFileManager_p.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace {

// The folder of the running executable.
QString executableFolder()
{
    if (QCoreApplication::instance())
        return QCoreApplication::applicationDirPath();
    return QFileInfo(QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath()).absolutePath();
}

QString expandLeadingTilde(const QString& path)
{
    if (path == QLatin1String("~"))
        return QDir::homePath();
    if (path.startsWith(QLatin1String("~/")))
        return QDir::homePath() + path.mid(1);
    return path;
}

// Joins path components; an empty component ends the list, so that what follows it is
// left out (an application without a name).
QString joinComponents(const QStringList& components)
{
    QString path;
    for (const QString& component : components) {
        if (component.isEmpty())
            break;
        path = path.isEmpty() || path.endsWith(QLatin1Char('/')) ? path + component
                                                                 : path + QLatin1Char('/') + component;
    }
    return path;
}

// The path extension of the last component: the text after its last '.', unless that
// dot starts the name.
QString pathExtension(const QString& relative)
{
    const qsizetype slash = relative.lastIndexOf(QLatin1Char('/'));
    const qsizetype dot = relative.lastIndexOf(QLatin1Char('.'));
    if (dot <= slash + 1)
        return QString();
    return relative.mid(dot + 1);
}

} // namespace

QStringList PVPluginSearchPaths(const QString& folderName)
{
    const QString application = QCoreApplication::applicationName();
    const QString folder = executableFolder();
    QString resources;
    QString plugins;
    if (QFileInfo(folder).fileName() == QLatin1String("bin")) {
        const QString prefix = QFileInfo(folder).absolutePath();
        resources = joinComponents({prefix, QStringLiteral("share"), application});
        plugins = joinComponents({prefix, QStringLiteral("lib"), application, QStringLiteral("plugins")});
        if (application.isEmpty()) {
            resources = prefix + QLatin1String("/share");
            plugins = prefix + QLatin1String("/lib/plugins");
        }
    } else {
        resources = folder;
        plugins = folder + QLatin1String("/plugins");
    }

    QStringList paths;
    paths.append(folderName.isEmpty() ? resources : resources + QLatin1Char('/') + folderName);
    paths.append(plugins);
    const QStringList dataFolders = QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation);
    for (const QString& dataFolder : dataFolders)
        paths.append(joinComponents({expandLeadingTilde(dataFolder), application, folderName}));
    return paths;
}

QStringList PVSearchForPlugins(const QString& extension, const QString& folderName)
{
    QStringList found;
    const QStringList searchPaths = PVPluginSearchPaths(folderName);
    for (const QString& searchPath : searchPaths) {
        const QString resolved = pathByResolvingSymlinksAndAliasesInPath(searchPath);
        PvWalkTree(resolved, [&](const QString& relative, const struct stat&) {
            if (relative.startsWith(QLatin1Char('.')))
                return;
            if (pathExtension(relative) != extension)
                return;
            const QString full = resolved.endsWith(QLatin1Char('/')) ? resolved + relative
                                                                     : resolved + QLatin1Char('/') + relative;
            if (isFileVisible(full))
                found.append(full);
        });
    }
    return found;
}

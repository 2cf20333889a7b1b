#include "PvBundleImage.h"

#include "PvSystemInfo.h"

#include <QFile>

namespace {
const QString kImageFolder = QStringLiteral(":/Pavo/Images/");
const QString kImageType = QStringLiteral(".png");
} // namespace

QString pv_pavoBundleImagePath(const QString& name)
{
    if (isRunningAsProApp()) {
        const QString pro = kImageFolder + name + QStringLiteral("_pro") + kImageType;
        if (QFile::exists(pro))
            return pro;
    }
    return kImageFolder + name + kImageType;
}

QPixmap pv_loadPavoBundleImage(const QString& name)
{
    return QPixmap(pv_pavoBundleImagePath(name));
}

#include "PvBundleImage.h"

#include "PvSystemInfo.h"

#include <QFile>
#include <QGuiApplication>
#include <QPalette>
#include <QScreen>

#include <algorithm>

namespace {
const QString kImageFolder = QStringLiteral(":/Pavo/Images/");
const QString kImageType = QStringLiteral(".png");
} // namespace

bool pv_pavoBundleImagesAreDark()
{
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return false;
    return QGuiApplication::palette().color(QPalette::Window).lightnessF() < 0.5;
}

QString pv_pavoBundleImagePath(const QString& name)
{
    QStringList candidates;
    if (isRunningAsProApp())
        candidates << name + QStringLiteral("_pro");
    candidates << name;
    const bool dark = pv_pavoBundleImagesAreDark();
    for (const QString& candidate : std::as_const(candidates)) {
        if (dark) {
            const QString path = kImageFolder + candidate + QStringLiteral("_dark") + kImageType;
            if (QFile::exists(path))
                return path;
        }
        const QString path = kImageFolder + candidate + kImageType;
        if (QFile::exists(path))
            return path;
    }
    return kImageFolder + name + kImageType;
}

QPixmap pv_loadPavoBundleImage(const QString& name)
{
    const QString path = pv_pavoBundleImagePath(name);
    qreal ratio = 1;
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        for (const QScreen* screen : QGuiApplication::screens())
            ratio = std::max(ratio, screen->devicePixelRatio());
    if (ratio > 1) {
        QString dense = path;
        dense.insert(dense.size() - kImageType.size(), QStringLiteral("@2x"));
        QPixmap picture(dense);
        if (!picture.isNull()) {
            picture.setDevicePixelRatio(2);
            return picture;
        }
    }
    return QPixmap(path);
}

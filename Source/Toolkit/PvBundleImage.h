// The framework's own pictures, compiled into PavoUI as Qt resources under
// ":/Pavo/Images/". Needs a QGuiApplication (the result is a QPixmap).
#pragma once

#include <QPixmap>
#include <QString>

/// The framework picture called `name`. In a pro application (isRunningAsProApp) the
/// variant "<name>_pro" is preferred when it exists. A name without a picture gives a
/// null pixmap; nothing is reported.
QPixmap pv_loadPavoBundleImage(const QString& name);

/// The resource path pv_loadPavoBundleImage chooses for `name` (also for a missing one).
QString pv_pavoBundleImagePath(const QString& name);

// The framework's own pictures, compiled into PavoUI as Qt resources under
// ":/Pavo/Images/". Needs a QGuiApplication (the result is a QPixmap).
#pragma once

#include <QPixmap>
#include <QString>

/// The framework picture called `name`. In a pro application (isRunningAsProApp) the
/// variant "<name>_pro" is preferred when it exists; while the application palette is dark
/// (pv_pavoBundleImagesAreDark) the variant with "_dark" appended is preferred over each.
/// When a screen has a device pixel ratio above 1 and the chosen picture has a version
/// drawn at twice the pixels ("<chosen>@2x"), that one is loaded, with ratio 2.
/// A name without a picture gives a null pixmap; nothing is reported. Pictures loaded
/// once do not follow a later palette change: load them again on
/// QEvent::ApplicationPaletteChange.
QPixmap pv_loadPavoBundleImage(const QString& name);

/// True when the application palette's window colour is dark (lightness below one half),
/// so the framework's dark pictures are chosen. False without a QGuiApplication.
bool pv_pavoBundleImagesAreDark();

/// The resource path pv_loadPavoBundleImage chooses for `name` (also for a missing one).
QString pv_pavoBundleImagePath(const QString& name);

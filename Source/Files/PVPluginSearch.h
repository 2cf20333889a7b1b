// Plug-in discovery: the places where a host keeps add-ons (plug-in bundles, presets and
// the like) in a folder of a given name, and the search for the visible files or bundles
// with a given extension in all of them.
//
// The places, in this order:
//  1. the application's resource folder with `folderName` appended: for an installed
//     application (its executable in <prefix>/bin) <prefix>/share/<application name>,
//     otherwise the folder of the executable;
//  2. the application's built-in plug-ins folder, without `folderName`:
//     <prefix>/lib/<application name>/plugins for an installed application, otherwise
//     "plugins" beside the executable;
//  3. every generic data folder of the user and then of the machine, as QStandardPaths
//     lists them (XDG_DATA_HOME, then each folder of XDG_DATA_DIRS), with a leading "~"
//     expanded, followed by the application name and `folderName`. An application
//     without a name (an empty QCoreApplication::applicationName()) ends that list of
//     components early: the path is then the data folder alone.
// The application name is QCoreApplication::applicationName(). Paths are listed whether
// or not they exist. Both functions keep no state and may run on any thread.
#pragma once

#include <QString>
#include <QStringList>

/// The search paths described above, for add-ons kept in folders named `folderName`
/// (an empty name adds no component).
QStringList PVPluginSearchPaths(const QString& folderName);

/// Every visible item with the path extension `extension` (the text after the last '.'
/// of the name, not counting a leading dot; compared exactly, case included) found below
/// the search paths of `folderName`: each path is resolved
/// (pathByResolvingSymlinksAndAliasesInPath) and walked deeply in name order, a folder
/// before its contents, descending into bundles but not through symbolic links. Entries
/// whose path relative to the search path begins with "." (hidden entries directly in the
/// search folder and everything below them) are skipped; visibility is isFileVisible.
/// Results come in search-path order, then walk order, as full paths; an item found in
/// two places is listed twice. Unreadable or missing folders contribute nothing.
QStringList PVSearchForPlugins(const QString& extension, const QString& folderName);

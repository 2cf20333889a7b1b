// The deep folder walk shared by the plug-in search and the tree merge.
#pragma once

#include <QString>

#include <functional>
#include <sys/stat.h>

/// Walks everything below the folder `root` (links followed for the root only): calls
/// `visit` with each entry's path relative to root and its lstat information, a folder
/// before its contents, entries of a folder in bytewise name order. Descends into
/// sub-folders, never through symbolic links, and never into a folder that is already
/// being walked (a bind-mount loop). A folder that cannot be read contributes nothing
/// below itself. Returns false, visiting nothing, when root is not a readable folder.
bool PvWalkTree(
    const QString& root, const std::function<void(const QString& relative, const struct stat& st)>& visit);

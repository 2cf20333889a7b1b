// Moving samples and chunks between files, and choosing names for new files.
#pragma once

#include "AudioAccess.h"
#include "Tool.h"

#include <QString>
#include <QStringList>

namespace pavoaudio {

/// Frames moved per block.
inline constexpr uint32_t kBlockFrames = 8192;

/// Copies every chunk of `from` into `to`. Chunks the target cannot carry (those the
/// service refuses, and WAVE's 'fact' in other containers) are skipped and their IDs
/// appended to `dropped`; any other failure ends the copy.
OSStatus copyChunks(AudioAccess& from, AudioAccess& to, QStringList* dropped);

/// A name in `dir` for a new file called `name` that names no existing item. With
/// `pair` the name carries a stereo suffix and its partner must not exist either. The
/// naming rules' unique-name search is used where the name fits its 31-character
/// records; longer names get the same "#n" numbering here.
QString uniqueName(const QString& dir, const QString& name, bool pair);

/// `name` in `dir`, as the user would write it: a name alone stays alone when `dir`
/// is "." (the folder of a path given without one).
QString placeIn(const QString& dir, const QString& name);

/// The name with its stereo suffix replaced by the partner's (naming rules), or an
/// empty string when it has none.
QString partnerName(const QString& name);

} // namespace pavoaudio

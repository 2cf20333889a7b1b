// Moving samples and chunks between files, and choosing names for new files.
#pragma once

#include "AudioAccess.h"
#include "Tool.h"

#include <QString>
#include <QStringList>

#include <initializer_list>

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

/// What the naming rules say of a file name as a stereo half. The suffix may be
/// followed by an audio extension when its row has none of its own ("Pad(L).wav").
struct StereoName {
    int index = -1; ///< stereo index (2 x row + side), -1 when the name is no half
    QString stem; ///< the name before the suffix
    QString suffix; ///< the suffix as spelled in the name
    QString extension; ///< an extension after the suffix, with its dot, or ""
    bool isHalf() const { return index >= 0; }
    bool isLeft() const { return (index & 1) == 0; }
    /// The pairing key within a folder: the stem and the suffix row.
    QString key() const { return stem + QStringLiteral("\x1f%1").arg(index >> 1); }
};
StereoName stereoName(const QString& name);

/// The name with its stereo suffix replaced by the partner's, in the same letter case
/// ("Kk.l.aif" gives "Kk.r.aif"), or an empty string when it has none.
QString partnerName(const QString& name);

/// Frames moved as exact words (AudioAccess::readWords) rather than as floats: the
/// sources and the target all hold integers, or all 32-bit floats.
bool movesWords(std::initializer_list<const AudioAccess*> sources, bool targetFloat, int targetBits);

/// Moves blocks of frames between files as 32-bit words: exact words on the word route,
/// else floats (their bits carried in the words) through the framework's converters.
class SampleMover {
public:
    /// `dither`: words are dithered down to `bits` before they are written.
    SampleMover(bool words, bool dither, int bits)
        : m_words(words)
        , m_dither(dither)
        , m_bits(bits)
    {
    }
    bool words() const { return m_words; }
    /// Reads up to `count` frames of `file` from `start` into `out` (resized to hold them).
    OSStatus read(
        AudioAccess& file, int64_t start, uint32_t count, std::vector<uint32_t>& out, uint32_t* got);
    /// Writes `count` frames of `in` (changed by dither) at `start`.
    OSStatus write(AudioAccess& file, int64_t start, uint32_t count, std::vector<uint32_t>& in);

private:
    bool m_words, m_dither;
    int m_bits;
    uint64_t m_noise = 0;
    std::vector<float> m_floats;
};

/// Triangular (TPDF) dither of left-justified integer words before they are cut to
/// `bits`: noise of +-1 step of the target added, rounded to the nearest step, clipped
/// to full scale. `state` carries the noise generator from block to block.
void ditherWords(uint32_t* words, size_t count, int bits, uint64_t* state);

} // namespace pavoaudio

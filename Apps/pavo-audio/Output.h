// New files of the tool: each is written under a temporary name beside its target and
// moved into place only when complete, so an interrupted command never leaves a partial
// file under a name a later run would read. Also the rule that no output is one of the
// inputs.
#pragma once

#include <QString>

namespace pavoaudio {

/// Whether both paths name the same existing file (same device and inode, links
/// followed); false when either cannot be examined.
bool sameFile(const QString& a, const QString& b);

/// One output on its way to its name.
class PendingOutput {
public:
    PendingOutput() = default;
    PendingOutput(const PendingOutput&) = delete;
    PendingOutput& operator=(const PendingOutput&) = delete;
    /// Removes the temporary file unless commit() succeeded.
    ~PendingOutput();

    /// Picks the temporary name for `target` (a hidden name in the same folder, which
    /// names no existing item). `replace`: commit() may replace an existing target.
    void begin(const QString& target, bool replace);
    const QString& temporary() const { return m_temp; }
    const QString& target() const { return m_target; }
    /// Moves the temporary file to the target name; false with errno set when that
    /// failed (EEXIST when the target appeared meanwhile and may not be replaced).
    bool commit();
    /// Removes the temporary file.
    void discard();

private:
    QString m_target, m_temp;
    bool m_replace = false;
    bool m_done = false;
};

} // namespace pavoaudio

// The commands of pavo-audio. Each takes its own arguments (after the command name) and
// returns the process's exit status.
#pragma once

#include <QStringList>

namespace pavoaudio {

int runInfo(const QStringList& args);
int runChunks(const QStringList& args);
int runConvert(const QStringList& args);
int runStereo(const QStringList& args);
int runScan(const QStringList& args);
int runCrc(const QStringList& args);

} // namespace pavoaudio

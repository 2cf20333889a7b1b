#include "AudioFileLabels.h"

// The label texts themselves are defined once, beside CAuFileIO (CAuFileIO.cpp), which
// exports them; this header only declares them for the naming rules.

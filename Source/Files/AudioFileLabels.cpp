#include "AudioFileLabels.h"

extern "C" {
const char strWavefile[] = " Wave File PC";
const char strAIFFfile[] = " AIFF File";
const char strSDIIfile[] = " SDII File";
const char strCAFfile[] = " CAF File";
const char strMP3file[] = " MP3 File";
const char strMP4file[] = " MP4 File";
const char strM4Afile[] = " AAC File";
const char strOrigfile[] = " Original Type";
}

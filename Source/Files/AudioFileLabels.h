// Display labels of the audio file types, for the host's file-type menus and labels.
//
// Each text starts with one blank (" AIFF File"); the table of audio file types
// (audioFileTypes in CFileUtil.h) shows the same labels without it. The framework itself
// only points at these texts. They are constants and may be read from any thread.
#pragma once

extern "C" {
extern const char strWavefile[]; ///< " Wave File PC"
extern const char strAIFFfile[]; ///< " AIFF File"
extern const char strSDIIfile[]; ///< " SDII File"
extern const char strCAFfile[]; ///< " CAF File"
extern const char strMP3file[]; ///< " MP3 File"
extern const char strMP4file[]; ///< " MP4 File"
extern const char strM4Afile[]; ///< " AAC File"
extern const char strOrigfile[]; ///< " Original Type"
}

// Compression of byte buffers into zlib streams and back, through zlib.
//
// These stand for the byte-buffer extension of the original interface: the receiver is
// the QByteArray argument and "nil" is a null QByteArray. Results are new QByteArrays
// (implicitly shared values: there is no ownership to hand over). Both functions are pure
// functions of their argument and may run on any thread.
#pragma once

#include <QByteArray>

/// The zlib stream (default level, zlib header and Adler-32 trailer) of `data`, made with
/// zlib's one-shot compress() into a buffer of length * 1.001 + 12 bytes.
/// Returns a null QByteArray for empty input. When zlib fails (out of memory, or input so
/// large that the 32-bit buffer size cannot hold its stream), the failure is reported as
/// an assertion through Qt's message handler at critical level, with the context
/// "Source/Extensions/PVNSData_Extensions", line 31 and the text "-compressedData error",
/// and a null QByteArray is returned (hosts that set QT_FATAL_CRITICALS or install their
/// own handler decide whether to stop there).
QByteArray compressedData(const QByteArray& data);

/// The bytes expanded from the zlib stream `data`. An empty `data` is returned as it is
/// (unlike compressedData, which gives null for it). Returns a null QByteArray when the
/// stream is corrupt, truncated, has no zlib header (raw deflate) or does not reach its
/// end, and for any one-byte input. Bytes after the end of the stream are ignored.
/// The output grows as the stream needs it, so memory use is bounded by the stream's own
/// expansion (at most about 1032 times the input for deflate).
QByteArray decompressedData(const QByteArray& data);

// Sample format converters: blocks of audio samples between the working format
// (32-bit IEEE floats, full scale +-1.0, carried in arrays of 32-bit words) and the
// sample formats stored in audio files (signed integers of 1 to 4 bytes, 32-bit floats,
// 64-bit doubles), in native (little-endian) or swapped (big-endian) byte order.
//
// Audio file code picks a converter once per file with one of the selectors and then
// calls it for every block. Every converter is a pure function of its buffers: it keeps
// no state, allocates nothing and may run on any thread. The caller owns every buffer.
//
// Readers (file to float) expand a block in place: the float output may start at the
// same address as the narrower input. Writers (float to file) narrow in place: the output
// may start at the same address as the (left) float input. Other overlaps are not
// supported.
//
// The float-to-integer path works on the float's bits and is exact to the bit,
// including its clip levels: +-1.0 and beyond (also infinities and NaN) give 0x7FFFFF00
// / -0x7FFFFF00 as a 32-bit sample (8388607 / -8388607 in 24 bits, 32767 / -32768 in
// 16 bits, 127 / -128 in 8 bits), while 0.99999994 gives the larger 0x7FFFFF80. The
// integer-to-float path is exact: a sample of N bits reads as sample / 2^(N-1), except
// that 32-bit samples keep only their top 24 bits (rounded toward minus infinity).
//
// On x86-64 the converters use AVX2 or AVX-512 (with VBMI where present) when the
// processor has them; every path gives the same bits as the portable one.
#pragma once

#include <cstdint>

/// A reader: converts `frames` samples (mono, rightOut null) or `frames` interleaved
/// two-channel frames (left first) from `in` to floats in `leftOut` (and `rightOut`).
typedef void (*tConvertNToFloat)(int32_t* leftOut, void* in, int32_t frames, int32_t* rightOut);
/// A writer: converts `frames` floats of `leftIn` (mono, rightIn null) or joins `frames`
/// floats of `leftIn` and `rightIn` into interleaved frames (left first) at `out`.
typedef void (*tConvertFloatToN)(void* out, int32_t* leftIn, int32_t frames, int32_t* rightIn);
/// A clearer: zeroes (part of) a stream of `bytes` bytes.
typedef void (*tClrStream)(void* buffer, int32_t bytes);

extern "C" {

/// Returns the reader for a stored sample format. `sizeCode` is 1, 2, 3 or 4 for signed
/// integers of that many bytes, -4 for 32-bit floats and -8 for 64-bit doubles; `swapped`
/// non-zero means big-endian data. Never null: unsupported combinations (any other size
/// code, swapped doubles) give ConvertNothing.
tConvertNToFloat GetConvertNToFloat(int sizeCode, int swapped);

/// Returns the writer for a stored sample format; codes as for GetConvertNToFloat.
/// Never null: unsupported combinations give ConvertNothing.
tConvertFloatToN GetConvertFloatToN(int sizeCode, int swapped);

/// Returns Convert16Interleaved2ToFloat for (2, 2), the native reader of GetConvertNToFloat
/// for interleave 1, and ConvertNothing for everything else.
tConvertNToFloat GetConvertInterleavedToFloat(int sizeCode, int interleave);

/// Returns ConvertFloatTo16Interleaved2 for (2, 2), the native writer of GetConvertFloatToN
/// for interleave 1, and ConvertNothing for everything else.
tConvertFloatToN GetConvertFloatToInterleaved(int sizeCode, int interleave);

/// Returns Clr16Interleaved2 when both arguments are 2, else BlockZero.
tClrStream GetClrStream(int sizeCode, int interleave);

/// Fills `bytes` bytes with zero; does nothing for a count of 0 or less.
void BlockZero(void* buffer, int32_t bytes);

/// Zeroes the 16-bit slots 0, 2, 4, ... of `buffer`, bytes / 2 of them (rounded down):
/// one channel of a two-channel 16-bit stream. The other channel is left untouched.
void Clr16Interleaved2(void* buffer, int32_t bytes);

/// The reader used for every unsupported format: does nothing and touches no memory.
void ConvertNothing(int32_t* leftOut, void* in, int32_t frames, int32_t* rightOut);

// ---- Writers (float to file). A count of 0 or less converts nothing. ----------------

/// Native 32-bit integers (int32_t words).
void ConvertFloatTo32(void* out, int32_t* leftIn, int32_t frames, int32_t* rightIn);
/// Native 24-bit integers, 3 bytes each, low byte first. Writes exactly 3 bytes per
/// sample and never touches a byte after the block.
void ConvertFloatTo24(void* out, int32_t* leftIn, int32_t frames, int32_t* rightIn);
/// Native 16-bit integers.
void ConvertFloatTo16(void* out, int32_t* leftIn, int32_t frames, int32_t* rightIn);
/// Signed 8-bit integers.
void ConvertFloatTo8(void* out, int32_t* leftIn, int32_t frames, int32_t* rightIn);
/// Big-endian 32-bit integers. Mono only: `rightIn` is ignored.
void ConvertFloatTo32Swap(void* out, int32_t* leftIn, int32_t frames, int32_t* rightIn);
/// Big-endian 24-bit integers.
void ConvertFloatTo24Swap(void* out, int32_t* leftIn, int32_t frames, int32_t* rightIn);
/// Big-endian 16-bit integers.
void ConvertFloatTo16Swap(void* out, int32_t* leftIn, int32_t frames, int32_t* rightIn);
/// Signed 8-bit integers (the same bytes as ConvertFloatTo8).
void ConvertFloatTo8Swap(void* out, int32_t* leftIn, int32_t frames, int32_t* rightIn);
/// Native 32-bit floats: copies the words (joins two channels). Does nothing at all
/// when `out` equals `leftIn`.
void ConvertFloatToFloatFile(void* out, int32_t* leftIn, int32_t frames, int32_t* rightIn);
/// Big-endian 32-bit floats: byte-reversed words.
void ConvertFloatToFloatSwap(void* out, int32_t* leftIn, int32_t frames, int32_t* rightIn);
/// Native doubles, widened exactly. Mono only: `rightIn` is ignored.
void ConvertFloatToDouble(void* out, int32_t* leftIn, int32_t frames, int32_t* rightIn);
/// Writes one channel into the 16-bit slots 0, 2, 4, ... of a two-channel native stream;
/// the other slots are untouched. `rightIn` is ignored.
void ConvertFloatTo16Interleaved2(void* out, int32_t* leftIn, int32_t frames, int32_t* rightIn);

// ---- Readers (file to float). A count of 0 or less converts nothing. ----------------

/// Native 32-bit integers. Mono only: `rightOut` is ignored.
void Convert32ToFloat(int32_t* leftOut, void* in, int32_t frames, int32_t* rightOut);
/// Native 24-bit integers. The two-channel path runs only when `leftOut` differs from
/// `in`; when they are equal the block is converted mono and `rightOut` is left alone.
void Convert24ToFloat(int32_t* leftOut, void* in, int32_t frames, int32_t* rightOut);
/// Native 16-bit integers.
void Convert16ToFloat(int32_t* leftOut, void* in, int32_t frames, int32_t* rightOut);
/// Signed 8-bit integers.
void Convert8ToFloat(int32_t* leftOut, void* in, int32_t frames, int32_t* rightOut);
/// Big-endian 32-bit integers. Mono only: `rightOut` is ignored.
void Convert32SwapToFloat(int32_t* leftOut, void* in, int32_t frames, int32_t* rightOut);
/// Big-endian 24-bit integers; two channels only when `leftOut` differs from `in`.
void Convert24SwapToFloat(int32_t* leftOut, void* in, int32_t frames, int32_t* rightOut);
/// Big-endian 16-bit integers.
void Convert16SwapToFloat(int32_t* leftOut, void* in, int32_t frames, int32_t* rightOut);
/// Unsigned 8-bit samples with an offset of 128 (0 reads as -1.0, 128 as 0.0). This
/// reader alone is unsigned; both 8-bit writers store signed bytes.
void Convert8SwapToFloat(int32_t* leftOut, void* in, int32_t frames, int32_t* rightOut);
/// Native 32-bit floats: copies the words (splits two channels). Does nothing at all
/// when `leftOut` equals `in`.
void ConvertFloatFileToFloat(int32_t* leftOut, void* in, int32_t frames, int32_t* rightOut);
/// Big-endian 32-bit floats.
void ConvertFloatSwapToFloat(int32_t* leftOut, void* in, int32_t frames, int32_t* rightOut);
/// Native doubles, rounded to the nearest float. Mono only: `rightOut` is ignored.
void ConvertDoubleToFloat(int32_t* leftOut, void* in, int32_t frames, int32_t* rightOut);
/// Reads one channel from the 16-bit slots 0, 2, 4, ... of a two-channel native stream.
/// `rightOut` is ignored.
void Convert16Interleaved2ToFloat(int32_t* leftOut, void* in, int32_t frames, int32_t* rightOut);

} // extern "C"

/// ConvertNothing as a writer: the same no-op for the writer selectors.
void ConvertNothing(void* out, int32_t* leftIn, int32_t frames, int32_t* rightIn);

/// The instruction-set paths of the converters. Every path gives the same bits; the
/// choice only changes speed.
enum PvConverterPath : int {
    kPvConverterPortable = 0, ///< plain C++, every processor
    kPvConverterAVX2 = 1, ///< x86-64 with AVX2
    kPvConverterAVX512 = 2, ///< x86-64 with AVX-512 F, BW and VL
    kPvConverterAVX512VBMI = 3, ///< the same plus AVX-512 VBMI (byte permutes for narrow samples)
};

/// Returns true when this processor can run `path`.
bool PvConverterPathAvailable(PvConverterPath path);

/// Returns the path the converters use now: the fastest available one unless
/// PvSetConverterPath chose another.
PvConverterPath PvCurrentConverterPath();

/// Makes every converter use `path` (for comparisons and measurements). Returns false and
/// changes nothing when the processor cannot run it. Safe from any thread, but
/// converters running at the same time may use either path.
bool PvSetConverterPath(PvConverterPath path);

// Loop-tagging chunks and beat markers: the in-memory records of the metadata that loop
// files carry, and the routines that turn them between file order (big-endian) and host
// order.
//
// The records are packed on 2-byte boundaries, exactly as they lie in a chunk payload
// (no chunk header): some 32-bit fields sit at offsets that are not multiples of 4. Hosts
// read payloads with CAuFileIO::FindChunk, swap them to host order, and swap them back
// before CAuFileIO::AddChunk. A file with the basic tagging chunk ('basc') is a "Sorvik
// Loop" (CAuFileIO::IsSorvikLoop). What the fields mean is the hosts' business; here only
// their widths and order are fixed. Byte data (text, single bytes) is never swapped.
//
// The swappers check no sizes: the caller guarantees a payload at least as long as the
// record. They run the table-driven swapper (ByteSwap.h), so like it they must not run
// on two threads at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tagging {

#pragma pack(push, 2)

/// A category chunk: 222 bytes.
struct CategoryChunk {
    uint32_t header; ///< swapped
    uint8_t text[150]; ///< byte data
    uint32_t values[16]; ///< swapped, at 154, 158, ..., 214
    uint16_t word1; ///< swapped, at 218
    uint16_t word2; ///< swapped, at 220
};

/// The basic tagging chunk, chunk ID 'basc': 82 bytes.
struct BasicTaggingChunk {
    uint32_t value1;
    uint32_t value2;
    uint16_t words[5]; ///< at 8, 10, 12, 14, 16
    uint32_t values[16]; ///< at 18, 22, ..., 78
};

/// One transient record: 24 bytes.
struct Transient {
    uint16_t words[2];
    uint32_t values[5]; ///< at 4, 8, 12, 16, 20
};

/// The transients chunk: this 76-byte header followed by `count` Transient records.
struct TransientsChunk {
    uint16_t words[4]; ///< at 0, 2, 4, 6
    uint32_t value1; ///< at 8
    uint32_t value2; ///< at 12
    uint32_t values[14]; ///< at 16, 20, ..., 68
    uint32_t count; ///< number of Transient records that follow, at 72

    /// The records that follow the header in the payload.
    Transient* transients() { return reinterpret_cast<Transient*>(this + 1); }
};

#pragma pack(pop)

static_assert(sizeof(CategoryChunk) == 222 && offsetof(CategoryChunk, text) == 4
        && offsetof(CategoryChunk, values) == 154 && offsetof(CategoryChunk, word1) == 218
        && offsetof(CategoryChunk, word2) == 220,
    "category chunk layout");
static_assert(sizeof(BasicTaggingChunk) == 82 && offsetof(BasicTaggingChunk, words) == 8
        && offsetof(BasicTaggingChunk, values) == 18,
    "basic tagging chunk layout");
static_assert(sizeof(Transient) == 24 && offsetof(Transient, values) == 4, "transient record layout");
static_assert(sizeof(TransientsChunk) == 76 && offsetof(TransientsChunk, value1) == 8
        && offsetof(TransientsChunk, values) == 16 && offsetof(TransientsChunk, count) == 72,
    "transients chunk layout");

/// Swaps every swapped field of a category record in place (either direction).
void SwapCategoryChunkToBig(CategoryChunk* chunk);
/// Swaps every field of a basic tagging record in place (either direction).
void SwapBasicTaggingChunkToBig(BasicTaggingChunk* chunk);

/// One field of a basic tagging record, for listing it: its name ("value1", "words[2]",
/// "values[15]"), its byte offset in the record, its width in bits and its value.
struct BasicTaggingField {
    std::string name;
    size_t offset;
    int bits;
    uint32_t value;
};
/// Every field of a host-order record, in record order.
std::vector<BasicTaggingField> BasicTaggingFields(const BasicTaggingChunk& chunk);
/// Swaps the header and then `count` records, `count` read before it is swapped (the
/// record is in host order on entry).
void SwapBasicTransientsChunkToBig(TransientsChunk* chunk);
/// The same swaps, `count` read after it is swapped (the record is in file order on entry).
void SwapBasicTransientsChunkToHost(TransientsChunk* chunk);

} // namespace tagging

#pragma pack(push, 2)
/// One beat marker: 32 bytes.
struct BeatMarker {
    int64_t position; ///< the marker's position
    float values[4]; ///< at 8, 12, 16, 20
    int32_t flags[2]; ///< at 24, 28
};
#pragma pack(pop)
static_assert(
    sizeof(BeatMarker) == 32 && offsetof(BeatMarker, values) == 8 && offsetof(BeatMarker, flags) == 24,
    "beat marker layout");

/// Size of the header of a beat-marker block: three 32-bit values and 1012 bytes of byte data.
constexpr int32_t kBeatMarkerHeaderSize = 1024;

extern "C" {
/// Swaps a `size`-byte beat-marker block in place: the three 32-bit header values, then
/// every BeatMarker after the 1024-byte header ((size - 1024) >> 5 of them; trailing bytes
/// of a partial marker are left alone). A block shorter than its header has only the
/// header values that fit swapped. `toHost` is passed on; a swap is its own inverse.
void SwapBeatMarkerCallback(void* block, int32_t size, unsigned char toHost);
/// A validation hook that steps over the markers of a block and checks nothing.
void TestBeatMarkers(void* block, int32_t size, BeatMarker* markers, int32_t count);
/// Reverse the 4 bytes of the value, whatever the flag.
void handle_byte_order_int32(uint32_t* value, unsigned char toHost);
void handle_byte_order_float(float* value, unsigned char toHost);
/// The value with its 8 bytes reversed.
uint64_t CFSwapInt64(uint64_t value);
}

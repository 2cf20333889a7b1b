#include "tagging.h"

#include "ByteSwap.h"

#include <cstddef>
#include <cstring>

namespace {

// Swap tables (see ByteSwap.h): 7 = a 32-bit value, 15 = a 16-bit value, 3 = a byte left
// alone; "1, code, n" repeats a code n times; 0 ends the table.
constexpr unsigned char kCategoryTable[] = {7, 1, 3, 150, 1, 7, 16, 15, 15, 0};
constexpr unsigned char kBasicTaggingTable[] = {7, 7, 1, 15, 5, 1, 7, 16, 0};
constexpr unsigned char kTransientsHeaderTable[] = {1, 15, 4, 7, 7, 1, 7, 14, 7, 0};
constexpr unsigned char kTransientTable[] = {15, 15, 1, 7, 5, 0};

template <size_t N> void swapWithTable(void* record, const unsigned char (&table)[N])
{
    unsigned char copy[N];
    std::memcpy(copy, table, N);
    TabIntelSwap(record, copy);
}

void swapTransients(tagging::TransientsChunk* chunk, uint32_t count)
{
    auto* record = reinterpret_cast<unsigned char*>(chunk) + sizeof(tagging::TransientsChunk);
    for (uint32_t i = 0; i < count; ++i, record += sizeof(tagging::Transient))
        swapWithTable(record, kTransientTable);
}

uint32_t loadU32(const void* p)
{
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}

} // namespace

namespace tagging {

void SwapCategoryChunkToBig(CategoryChunk* chunk)
{
    swapWithTable(chunk, kCategoryTable);
}

void SwapBasicTaggingChunkToBig(BasicTaggingChunk* chunk)
{
    swapWithTable(chunk, kBasicTaggingTable);
}

std::vector<BasicTaggingField> BasicTaggingFields(const BasicTaggingChunk& chunk)
{
    std::vector<BasicTaggingField> fields;
    fields.reserve(23);
    fields.push_back({"value1", offsetof(BasicTaggingChunk, value1), 32, chunk.value1});
    fields.push_back({"value2", offsetof(BasicTaggingChunk, value2), 32, chunk.value2});
    for (size_t i = 0; i < 5; ++i)
        fields.push_back({"words[" + std::to_string(i) + "]", offsetof(BasicTaggingChunk, words) + 2 * i, 16,
            chunk.words[i]});
    for (size_t i = 0; i < 16; ++i)
        fields.push_back({"values[" + std::to_string(i) + "]", offsetof(BasicTaggingChunk, values) + 4 * i,
            32, chunk.values[i]});
    return fields;
}

void SwapBasicTransientsChunkToBig(TransientsChunk* chunk)
{
    const uint32_t count = loadU32(&chunk->count); // host order on entry
    swapWithTable(chunk, kTransientsHeaderTable);
    swapTransients(chunk, count);
}

void SwapBasicTransientsChunkToHost(TransientsChunk* chunk)
{
    swapWithTable(chunk, kTransientsHeaderTable);
    swapTransients(chunk, loadU32(&chunk->count)); // host order now
}

} // namespace tagging

extern "C" void handle_byte_order_int32(uint32_t* value, unsigned char)
{
    uint32_t v;
    std::memcpy(&v, value, 4);
    v = __builtin_bswap32(v);
    std::memcpy(value, &v, 4);
}

extern "C" void handle_byte_order_float(float* value, unsigned char)
{
    uint32_t v;
    std::memcpy(&v, value, 4);
    v = __builtin_bswap32(v);
    std::memcpy(value, &v, 4);
}

extern "C" uint64_t CFSwapInt64(uint64_t value)
{
    return __builtin_bswap64(value);
}

extern "C" void SwapBeatMarkerCallback(void* block, int32_t size, unsigned char toHost)
{
    auto* p = static_cast<unsigned char*>(block);
    // The three header values (guarded: a short block gets only the values it holds).
    for (int32_t at = 0; at < 12 && at + 4 <= size; at += 4)
        handle_byte_order_int32(reinterpret_cast<uint32_t*>(p + at), toHost);
    if (size < kBeatMarkerHeaderSize)
        return;
    const uint32_t markers = uint32_t(size - kBeatMarkerHeaderSize) >> 5;
    for (uint32_t i = 0; i < markers; ++i) {
        unsigned char* m = p + kBeatMarkerHeaderSize + 32 * size_t(i);
        uint64_t position;
        std::memcpy(&position, m, 8);
        position = CFSwapInt64(position);
        std::memcpy(m, &position, 8);
        for (int k = 0; k < 4; ++k)
            handle_byte_order_float(reinterpret_cast<float*>(m + 8 + 4 * k), toHost);
        handle_byte_order_int32(reinterpret_cast<uint32_t*>(m + 24), toHost);
        handle_byte_order_int32(reinterpret_cast<uint32_t*>(m + 28), toHost);
    }
}

extern "C" void TestBeatMarkers(void* block, int32_t size, BeatMarker*, int32_t)
{
    // Walks the marker positions and checks nothing, as the hosts expect of this hook.
    const auto* p = static_cast<const unsigned char*>(block);
    for (int32_t at = kBeatMarkerHeaderSize; at + 32 <= size; at += 32)
        (void)(p + at);
}

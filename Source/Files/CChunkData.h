// CChunkData: one metadata chunk of an audio file, held in memory.
//
// The record owns its payload (allocated with new[]), which holds the chunk's bytes
// without any chunk header. CAuFileIO::FindChunk fills it, CAuFileIO::AddChunk writes it;
// the loop-tagging swappers (tagging.h) work on the payload. A new record is all zero.
// Threads: a record is used by one thread at a time.
#pragma once

#include "PvMacTypes.h"

#include <cstdint>

class CChunkData {
public:
    /// An empty record: no payload, every field 0.
    CChunkData();
    /// Releases the payload.
    ~CChunkData();
    CChunkData(const CChunkData&) = delete;
    CChunkData& operator=(const CChunkData&) = delete;

    /// Releases the old payload, allocates `size` bytes, copies `data` into them and sets
    /// mSize. A size of 0 or less leaves no payload and mSize 0; null `data` with a
    /// positive size leaves the new bytes zero.
    void SetData(const void* data, int32_t size);
    /// Releases the old payload and allocates `size` uninitialised bytes, sets mSize and
    /// returns the buffer (null, with mSize 0, for a size of 0 or less).
    uint8_t* AllocData(int32_t size);
    /// Releases the payload and returns every field to 0.
    void Clear();

    uint8_t* mData; ///< payload, owned, new[]; null when none
    uint32_t mSize; ///< payload size in bytes
    uint32_t mID; ///< chunk ID (four-character code)
    int64_t mChunkPos; ///< location: 0 in an empty record, -1 when filled by FindChunk
    int64_t mDataPos; ///< location, same rule as mChunkPos
};

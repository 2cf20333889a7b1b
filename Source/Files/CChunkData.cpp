#include "CChunkData.h"

#include <cstring>

CChunkData::CChunkData()
    : mData(nullptr)
    , mSize(0)
    , mID(0)
    , mChunkPos(0)
    , mDataPos(0)
{
}

CChunkData::~CChunkData()
{
    delete[] mData;
}

uint8_t* CChunkData::AllocData(int32_t size)
{
    delete[] mData;
    mData = nullptr;
    mSize = 0;
    if (size > 0) {
        mData = new uint8_t[size_t(size)];
        mSize = uint32_t(size);
    }
    return mData;
}

void CChunkData::SetData(const void* data, int32_t size)
{
    uint8_t* p = AllocData(size);
    if (p == nullptr)
        return;
    if (data != nullptr)
        std::memcpy(p, data, size_t(size));
    else
        std::memset(p, 0, size_t(size));
}

void CChunkData::Clear()
{
    delete[] mData;
    mData = nullptr;
    mSize = 0;
    mID = 0;
    mChunkPos = 0;
    mDataPos = 0;
}

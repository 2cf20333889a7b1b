#include "PvPlistGuard_p.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace {

constexpr uint64_t kMaxNodes = 65536;
constexpr size_t kMaxDepth = 32;
constexpr size_t kHeaderSize = 8;
constexpr size_t kTrailerSize = 32;

uint64_t readBig(const unsigned char* p, size_t n)
{
    uint64_t value = 0;
    for (size_t i = 0; i < n; ++i)
        value = (value << 8) | p[i];
    return value;
}

struct Reader {
    const unsigned char* data;
    size_t size;
    size_t objectsEnd; // offset of the offset table: objects live before it
    size_t refSize;
    uint64_t count;
    std::vector<uint64_t> offsets;

    // The length that follows an object's marker: the low nibble, or an integer
    // object after it when the nibble is 0xF. `pos` moves past what was read.
    bool length(unsigned char marker, size_t* pos, uint64_t* n) const
    {
        *n = marker & 0x0F;
        if (*n != 0x0F)
            return true;
        if (*pos >= objectsEnd || (data[*pos] >> 4) != 0x1)
            return false;
        const size_t intSize = size_t(1) << (data[*pos] & 0x0F);
        ++*pos;
        if (intSize > 8 || *pos + intSize > objectsEnd)
            return false;
        *n = readBig(data + *pos, intSize);
        *pos += intSize;
        return true;
    }

    // Strings must lie inside the object area and hold no NUL character: libplist
    // asserts (and so aborts) on a string or key whose length disagrees with strlen.
    bool stringIsClean(unsigned type, size_t pos, uint64_t n) const
    {
        const size_t unit = type == 0x6 ? 2 : 1;
        if (n > (objectsEnd - pos) / unit)
            return false;
        for (size_t i = 0; i < size_t(n); ++i) {
            const unsigned char* c = data + pos + i * unit;
            if (c[0] == 0 && (unit == 1 || c[1] == 0))
                return false;
        }
        return true;
    }

    // The references of the container object `index` (none for other objects).
    // Strings are checked on the way.
    bool children(uint64_t index, std::vector<uint64_t>* out) const
    {
        out->clear();
        size_t pos = size_t(offsets[index]);
        const unsigned char marker = data[pos++];
        const unsigned type = marker >> 4;
        uint64_t n = 0;
        if (type == 0x5 || type == 0x6)
            return length(marker, &pos, &n) && stringIsClean(type, pos, n);
        if (type != 0xA && type != 0xC && type != 0xD)
            return true;
        if (!length(marker, &pos, &n))
            return false;
        if (type == 0xD) {
            if (n > count)
                return false;
            n *= 2;
        }
        if (n > count * 2 || n > (objectsEnd - pos) / refSize)
            return false;
        out->reserve(size_t(n));
        for (uint64_t i = 0; i < n; ++i) {
            const uint64_t ref = readBig(data + pos + size_t(i) * refSize, refSize);
            if (ref >= count)
                return false;
            out->push_back(ref);
        }
        return true;
    }
};

} // namespace

bool PvBinaryPlistIsTame(const char* bytes, size_t size)
{
    const auto* data = reinterpret_cast<const unsigned char*>(bytes);
    if (!data || size < kHeaderSize + kTrailerSize || std::string_view(bytes, 6) != "bplist")
        return false;
    const unsigned char* trailer = data + size - kTrailerSize;
    const size_t offsetSize = trailer[6];
    const size_t refSize = trailer[7];
    const uint64_t count = readBig(trailer + 8, 8);
    const uint64_t top = readBig(trailer + 16, 8);
    const uint64_t tableOffset = readBig(trailer + 24, 8);
    if (offsetSize < 1 || offsetSize > 8 || refSize < 1 || refSize > 8 || count == 0 || top >= count)
        return false;
    const size_t tableEnd = size - kTrailerSize;
    if (tableOffset < kHeaderSize || tableOffset > tableEnd || count > (tableEnd - tableOffset) / offsetSize)
        return false;
    Reader reader {data, size, size_t(tableOffset), refSize, count, {}};
    reader.offsets.resize(size_t(count));
    for (uint64_t i = 0; i < count; ++i) {
        const uint64_t offset = readBig(data + tableOffset + size_t(i) * offsetSize, offsetSize);
        if (offset < kHeaderSize || offset >= tableOffset)
            return false;
        reader.offsets[size_t(i)] = offset;
    }
    // Depth-first walk from the top object with an explicit stack; nodes[i] is the
    // number of nodes object i unfolds into, 0 while it is being visited.
    enum : uint8_t { kNew, kOpen, kDone };
    std::vector<uint8_t> state(size_t(count), kNew);
    std::vector<uint64_t> nodes(size_t(count), 0);
    struct Frame {
        uint64_t index;
        std::vector<uint64_t> kids;
        size_t next;
    };
    std::vector<Frame> stack;
    std::vector<uint64_t> kids;
    if (!reader.children(top, &kids))
        return false;
    stack.push_back({top, kids, 0});
    state[size_t(top)] = kOpen;
    while (!stack.empty()) {
        Frame& frame = stack.back();
        if (frame.next < frame.kids.size()) {
            const uint64_t child = frame.kids[frame.next++];
            if (state[size_t(child)] == kOpen)
                return false; // a cycle
            if (state[size_t(child)] == kNew) {
                if (stack.size() >= kMaxDepth)
                    return false;
                if (!reader.children(child, &kids))
                    return false;
                state[size_t(child)] = kOpen;
                stack.push_back({child, kids, 0});
            }
            continue;
        }
        uint64_t total = 1;
        for (uint64_t kid : frame.kids) {
            total += nodes[size_t(kid)];
            if (total > kMaxNodes)
                return false;
        }
        nodes[size_t(frame.index)] = total;
        state[size_t(frame.index)] = kDone;
        stack.pop_back();
    }
    return true;
}

// Fuzzes the reader of AppleDouble sidecar files ("._name") that carry Finder
// information on file systems without extended attributes. A found entry is checked
// against a byte-at-a-time walk of the header written here from the format.
#include <Pavo/PavoCore.h>

#include <QByteArray>

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

uint32_t be32(const uint8_t* p)
{
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3];
}

// The offset of the first entry with ID 9, or -1.
long long finderInfoOffset(const uint8_t* data, size_t size)
{
    if (size < 26 || be32(data) != 0x00051607u)
        return -1;
    const size_t count = (size_t(data[24]) << 8) | data[25];
    for (size_t i = 0; i < count && 26 + 12 * (i + 1) <= size; ++i) {
        const uint8_t* entry = data + 26 + 12 * i;
        if (be32(entry) == 9)
            return (be32(entry + 8) >= 32 && uint64_t(be32(entry + 4)) + 32 <= size)
                ? (long long)be32(entry + 4)
                : -1LL;
    }
    return -1;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    uint8_t info[32];
    std::memset(info, 0xA5, sizeof info);
    const bool found = PvFinderInfoFromAppleDouble(bytes, info);
    const long long offset = finderInfoOffset(data, size);
    if (found != (offset >= 0))
        std::abort();
    if (found && std::memcmp(info, data + offset, 32) != 0)
        std::abort();
    (void)PvFinderInfoFileType(info);
    (void)PvFinderInfoFlags(info);
    return 0;
}

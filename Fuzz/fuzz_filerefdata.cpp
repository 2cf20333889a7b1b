// Fuzzes CFileRefFromData with any bytes as a file-reference block: any declared alias
// and URL lengths, any alias archive, any URL part. A block must restore a reference or
// leave it empty, never read outside the block, and a restored reference must
// serialise again.
#include <Pavo/PavoCore.h>

#include <cstdint>
#include <cstring>
#include <memory>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > (1u << 20))
        return 0;
    // An exact-size copy, so that the sanitizers see any read past the block.
    std::unique_ptr<unsigned char[]> block(new unsigned char[size ? size : 1]);
    if (size)
        std::memcpy(block.get(), data, size);
    CFileRef ref;
    CFileRefFromData(ref, block.get(), uint32_t(size));
    const uint32_t flags = ref.validFlags();
    if (flags != 0 && !(flags & CFileRef::kURLValid))
        __builtin_trap();

    // The unchecked form, when the declared lengths fit in the block.
    if (size >= 8) {
        const uint64_t a
            = (uint64_t(data[0]) << 24) | (uint64_t(data[1]) << 16) | (uint64_t(data[2]) << 8) | data[3];
        const uint64_t u
            = (uint64_t(data[4]) << 24) | (uint64_t(data[5]) << 16) | (uint64_t(data[6]) << 8) | data[7];
        if (8 + a + u <= size) {
            CFileRef again;
            CFileRefFromData(again, block.get());
            if (again.url() != ref.url())
                __builtin_trap();
        }
    }
    unsigned char* out = nullptr;
    uint32_t outSize = 0;
    CFileRefToData(ref, &out, &outSize);
    if (!out || outSize < 8)
        __builtin_trap();
    delete[] out;
    return 0;
}

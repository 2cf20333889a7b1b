// Fuzzes the table-driven byte swapper with both the swap table and the record bytes
// taken from the input, and the copy-table swapper with the same bytes.
//
// Input layout: [limit selector][table length][table bytes][record bytes].
// The record buffer is sized from a walk of the table, so that every byte the table
// lets the swapper write lies inside it; any write outside is an error the sanitizers see.
#include <Pavo/PavoCore.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace {

size_t fieldSize(int code)
{
    switch (code) {
    case 4:
    case 15:
    case 21:
        return 2;
    case 5:
        return 3;
    case 6:
    case 7:
    case 16:
        return 4;
    case 8:
    case 11:
    case 18:
        return 8;
    case 9:
        return 12;
    case 10:
    case 12:
    case 20:
        return 16;
    case 13:
        return 24;
    case 14:
        return 32;
    case 17:
    case 19:
        return 6;
    default:
        return 1;
    }
}

// The number of bytes the table walks over, and whether it uses code 21.
size_t tableExtent(const unsigned char* t, bool* usesLength)
{
    size_t total = 0;
    *usesLength = false;
    for (unsigned char c = *t++; c != 0; c = *t++) {
        int code = c;
        size_t n = 1;
        if (c == 1) {
            code = t[0];
            n = t[1];
            t += 2;
        } else if (c == 2) {
            code = t[0];
            n = size_t(t[1]) * 256 + t[2];
            t += 3;
        }
        if (code == 21 && n > 0)
            *usesLength = true;
        total += fieldSize(code) * n;
    }
    return total;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    const uint8_t limitSelector = data[0];
    const size_t tableLength = data[1] < size - 2 ? data[1] : size - 2;
    // The table plus a terminator and room for the arguments of a trailing 1 or 2.
    std::vector<unsigned char> table(data + 2, data + 2 + tableLength);
    table.insert(table.end(), 4, 0);
    const uint8_t* record = data + 2 + tableLength;
    const size_t recordLength = size - 2 - tableLength;

    bool usesLength = false;
    const size_t extent = tableExtent(table.data(), &usesLength);
    if (extent <= (size_t(1) << 20)) {
        std::vector<unsigned char> buffer(extent);
        for (size_t i = 0; i < extent && recordLength > 0; ++i)
            buffer[i] = record[i % recordLength];
        const std::vector<unsigned char> original = buffer;
        unsigned char* p = buffer.data();
        // Selector 0 means no limit; otherwise a limit somewhere inside or just past the record.
        void* limit = limitSelector == 0 ? reinterpret_cast<void*>(UINTPTR_MAX)
                                         : static_cast<void*>(p + (extent * (limitSelector - 1)) / 254);
        const char* before = GetPIntelLimit();
        void* end = LimitTabIntelSwap(p, table.data(), limit);
        if (end != p + extent || GetPIntelLimit() != before)
            __builtin_trap();
        if (!usesLength) {
            // Without code 21 the fields do not depend on the bytes: a second run restores.
            LimitTabIntelSwap(p, table.data(), limit);
            if (buffer != original)
                __builtin_trap();
        }
    }

    // The same bytes as a copy table, over the record (copy table must end with 0).
    std::vector<char> copyTable(data + 2, data + 2 + tableLength);
    copyTable.push_back(0);
    std::vector<char> src(record, record + recordLength);
    std::vector<char> dst(recordLength);
    SwapData(dst.data(), src.data(), copyTable.data(), int32_t(recordLength));

    std::vector<unsigned char> samples(record, record + recordLength);
    const int depths[] = {8, 16, 24, 32};
    const int depth = depths[limitSelector & 3];
    ProcessSwapIntel(samples.data(), int32_t(recordLength / size_t(depth / 8)), 0, depth);
    return 0;
}

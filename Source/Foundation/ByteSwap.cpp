#include "ByteSwap.h"

#include <cstring>

namespace {

// The limit of table-driven swaps: fields ending beyond it are left as they are.
// Held as an integer so that comparing it with addresses of any object is defined.
uintptr_t s_intelLimit = UINTPTR_MAX;

inline void reverse2(unsigned char* p)
{
    uint16_t v;
    std::memcpy(&v, p, 2);
    v = __builtin_bswap16(v);
    std::memcpy(p, &v, 2);
}

inline void reverse4(unsigned char* p)
{
    uint32_t v;
    std::memcpy(&v, p, 4);
    v = __builtin_bswap32(v);
    std::memcpy(p, &v, 4);
}

inline void reverse8(unsigned char* p)
{
    uint64_t v;
    std::memcpy(&v, p, 8);
    v = __builtin_bswap64(v);
    std::memcpy(p, &v, 8);
}

} // namespace

extern "C" {

const char* GetPIntelLimit(void)
{
    return reinterpret_cast<const char*>(s_intelLimit);
}

void SetPIntelLimit(const char* limit)
{
    s_intelLimit = reinterpret_cast<uintptr_t>(limit);
}

void* IntelSwap(void* p, int code)
{
    // Counts limit overruns down to 0; kept for inspection in a debugger, nothing reads it.
    static int16_t once = 1;

    auto* b = static_cast<unsigned char*>(p);
    size_t size = 1;
    int element = code; // what a second pass re-applies at p after an overrun
    switch (code) {
    case 4:
        size = 2;
        break;
    case 5:
        size = 3;
        break;
    case 6:
        size = 4;
        break;
    case 7:
        reverse4(b);
        size = 4;
        break;
    case 8:
    case 9:
    case 10:
        element = 7;
        size = size_t(code - 6) * 4;
        for (int i = 0; i < code - 6; ++i)
            IntelSwap(b + 4 * i, 7);
        break;
    case 11:
        reverse8(b);
        size = 8;
        break;
    case 12:
    case 13:
    case 14:
        element = 11;
        size = size_t(code - 10) * 8;
        for (int i = 0; i < code - 10; ++i)
            IntelSwap(b + 8 * i, 11);
        break;
    case 15:
        reverse2(b);
        size = 2;
        break;
    case 16:
    case 17:
    case 18:
        element = 15;
        size = size_t(code - 14) * 2;
        for (int i = 0; i < code - 14; ++i)
            IntelSwap(b + 2 * i, 15);
        break;
    case 19:
        reverse4(b);
        reverse2(b + 4);
        size = 6;
        break;
    case 20:
        reverse8(b);
        reverse8(b + 8);
        size = 16;
        break;
    case 21: {
        reverse2(b);
        int16_t length;
        std::memcpy(&length, b, 2);
        if (length > 2)
            s_intelLimit = reinterpret_cast<uintptr_t>(b) + uintptr_t(length);
        size = 2;
        break;
    }
    default: // 0 to 3 and 22 and above: one byte left as is
        break;
    }

    unsigned char* end = b + size;
    if (reinterpret_cast<uintptr_t>(end) <= s_intelLimit)
        return end;

    // Overrun: reversing the same bytes again with no limit puts them back.
    uintptr_t saved = s_intelLimit;
    s_intelLimit = UINTPTR_MAX;
    if (once > 0)
        --once;
    IntelSwap(p, element);
    s_intelLimit = saved;
    return end;
}

void* MultiIntelSwap(void* p, int code, int32_t n)
{
    for (int32_t i = 0; i < n; ++i)
        p = IntelSwap(p, code);
    return p;
}

void* LimitTabIntelSwap(void* p, unsigned char* table, void* limit)
{
    if (table == nullptr)
        return p;
    uintptr_t saved = s_intelLimit;
    s_intelLimit = reinterpret_cast<uintptr_t>(limit);
    const unsigned char* t = table;
    for (unsigned char c = *t++; c != 0; c = *t++) {
        if (c == 1) {
            int code = t[0];
            int32_t n = t[1];
            t += 2;
            p = MultiIntelSwap(p, code, n);
        } else if (c == 2) {
            int code = t[0];
            int32_t n = int32_t(t[1]) * 256 + t[2];
            t += 3;
            p = MultiIntelSwap(p, code, n);
        } else {
            p = IntelSwap(p, c);
        }
    }
    s_intelLimit = saved;
    return p;
}

void* TabIntelSwap(void* p, unsigned char* table)
{
    return LimitTabIntelSwap(p, table, reinterpret_cast<void*>(UINTPTR_MAX));
}

char SwapData(char* dst, const char* src, const char* table, int32_t size)
{
    for (;;) {
        const signed char c = static_cast<signed char>(*table++);
        if (c == 0)
            return 0;
        const int32_t n = c < 0 ? -int32_t(c) : int32_t(c);
        if (n > size)
            return char(c);
        std::memmove(dst, src, size_t(n));
        auto* d = reinterpret_cast<unsigned char*>(dst);
        if (c == 2)
            reverse2(d);
        else if (c == 4)
            reverse4(d);
        else if (c == 8)
            reverse8(d);
        dst += n;
        src += n;
        size -= n;
    }
}

int32_t ProcessSwapIntel(void* data, int32_t count, int32_t reserved, int bitsPerSample)
{
    (void)reserved;
    auto* b = static_cast<unsigned char*>(data);
    switch (bitsPerSample) {
    case 32:
        PSwapLong(data, count);
        break;
    case 24:
        for (int32_t i = 0; i < count; ++i, b += 3) {
            unsigned char t = b[0];
            b[0] = b[2];
            b[2] = t;
        }
        break;
    case 8:
        for (int32_t i = 0; i < count; ++i)
            b[i] = static_cast<unsigned char>(b[i] + 128);
        break;
    default:
        PSwapWord(data, count);
        break;
    }
    return 1;
}

void* PSwapWord(void* p, int n)
{
    auto* b = static_cast<unsigned char*>(p);
    for (int i = 0; i < n; ++i, b += 2)
        reverse2(b);
    return b;
}

void* PSwapLong(void* p, int n)
{
    auto* b = static_cast<unsigned char*>(p);
    for (int i = 0; i < n; ++i, b += 4)
        reverse4(b);
    return b;
}

void* PSwapLongLong(void* p, int n)
{
    auto* b = static_cast<unsigned char*>(p);
    for (int i = 0; i < n; ++i, b += 8)
        reverse8(b);
    return b;
}

void PSwapCopyLong(void* dst, const void* src, int n)
{
    auto* d = static_cast<unsigned char*>(dst);
    const auto* s = static_cast<const unsigned char*>(src);
    for (int i = 0; i < n; ++i) {
        uint32_t v;
        std::memcpy(&v, s + 4 * size_t(i), 4);
        v = __builtin_bswap32(v);
        std::memcpy(d + 4 * size_t(i), &v, 4);
    }
}

void SwapLong(void* p)
{
    reverse4(static_cast<unsigned char*>(p));
}

} // extern "C"

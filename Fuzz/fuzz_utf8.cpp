// Fuzzes the UTF-8 text functions with any bytes as text. The fast paths (sixteen bytes at
// a time) are checked against byte-at-a-time walks written here from the documented rules,
// and every copy goes into a heap buffer of exactly the capacity given, so the sanitizers
// see any write past it.
//
// Input layout: [capacity byte][text bytes...]; the text ends at the first zero byte.
#include <Pavo/PavoCore.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

namespace {

size_t sequenceLength(unsigned char c)
{
    if (c >= 0xFC && c <= 0xFD)
        return 6;
    if (c >= 0xF8 && c <= 0xFB)
        return 5;
    if (c >= 0xF0 && c <= 0xF7)
        return 4;
    if (c >= 0xE0 && c <= 0xEF)
        return 3;
    if (c >= 0xC0 && c <= 0xDF)
        return 2;
    return 1;
}

bool referenceCheck(const unsigned char* s)
{
    size_t expectedEnd = 0;
    unsigned char previous = 0;
    size_t i = 0;
    for (; s[i] != 0; ++i) {
        const unsigned char c = s[i];
        if (c >= 0x80 && c < 0xC0) {
            if (previous < 0x80)
                return false;
        } else if (c < 0x80) {
            if (i != expectedEnd)
                return false;
            expectedEnd = i + 1;
        } else if (c < 0xFE) {
            expectedEnd = i + sequenceLength(c);
        }
        previous = c;
    }
    return expectedEnd == i;
}

void referenceCopy(unsigned char* dst, const unsigned char* src, size_t n)
{
    while (*src >= 0x80 && *src < 0xC0)
        ++src;
    size_t k = 0;
    while (src[k] != 0) {
        size_t length = sequenceLength(src[k]);
        if (k + length > n)
            break;
        size_t j = 0;
        while (j < length && src[k + j] != 0)
            ++j;
        k += j;
        if (j < length)
            break;
    }
    std::memcpy(dst, src, k);
    std::memset(dst + k, 0, n - k);
}

void check(bool condition)
{
    if (!condition)
        __builtin_trap();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    const uint32_t capacity = data[0];
    // The text, zero-terminated, in a buffer of exactly its size.
    size_t length = 0;
    while (1 + length < size && data[1 + length] != 0)
        ++length;
    std::unique_ptr<char[]> text(new char[length + 1]);
    std::memcpy(text.get(), data + 1, length);
    text[length] = 0;
    const char* s = text.get();
    const auto* u = reinterpret_cast<const unsigned char*>(s);

    size_t ascii = 0;
    while (ascii < length && u[ascii] < 0x80)
        ++ascii;
    check(utf8_strlen(s) == ascii);
    check(utf8_is_ascii(s, 0) == (ascii == length));
    check(
        utf8_is_ascii(s, capacity) == (ascii >= std::min<size_t>(capacity == 0 ? length : capacity, length)));
    check(utf8_check(s) == referenceCheck(u));
    check(utf8_verify(s) == utf8_check(s));

    std::unique_ptr<char[]> dst(new char[capacity + 1]);
    std::unique_ptr<unsigned char[]> expected(new unsigned char[capacity + 1]);
    utf8_strncpy(dst.get(), s, capacity);
    referenceCopy(expected.get(), u, capacity);
    check(std::memcmp(dst.get(), expected.get(), capacity) == 0);
    if (capacity > 0) {
        std::unique_ptr<char[]> bounded(new char[capacity]);
        utf8_strlcpy(bounded.get(), s, capacity);
        check(bounded[capacity - 1] == 0);
    }

    if (length > 0) {
        const char* found = utf8_strchr(s, static_cast<signed char>(capacity));
        check(found == nullptr || (found > s && found < s + length && *found == static_cast<char>(capacity)));
    }

    const QString string = utf8_to_cfstring(s);
    if (!string.isNull()) {
        // Valid UTF-8 comes back byte for byte.
        std::unique_ptr<char[]> back(new char[length + 1]);
        check(utf8_from_cfstring(back.get(), string, uint32_t(length + 1)) == length);
        check(std::memcmp(back.get(), s, length + 1) == 0);
    }
    if (capacity > 0) {
        std::unique_ptr<char[]> out(new char[capacity]);
        const uint32_t written
            = utf8_from_nsstring(out.get(), string.isNull() ? QStringLiteral("x") : string, capacity);
        check(written < capacity && out[written] == 0);

        QString changed;
        std::unique_ptr<char[]> name(new char[capacity]);
        utf8_to_fsspecFileSystemCString(name.get(), s, capacity, &changed);
        check(std::strlen(name.get()) < capacity);
        std::unique_ptr<unsigned char[]> pascal(new unsigned char[capacity]);
        utf8_to_fsspecFileSystemPascalString(pascal.get(), s, capacity, &changed);
        check(pascal[0] < capacity);
        std::unique_ptr<char[]> path(new char[capacity]);
        utf8_to_fileSystemRepresentation(path.get(), s, capacity);
        check(std::strlen(path.get()) < capacity);
    }
    return 0;
}

#include "UTF8.h"

#include "MacRoman.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QStringDecoder>
#include <QtGlobal>

#include <cstdio>
#include <cstring>
#include <ctime>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

inline bool isContinuation(unsigned char c)
{
    return (c & 0xC0) == 0x80;
}

// Length of the sequence a byte starts; continuation bytes, 0xFE and 0xFF count as 1.
inline size_t sequenceLength(unsigned char c)
{
    if ((c & 0xFE) == 0xFC)
        return 6;
    if ((c & 0xFC) == 0xF8)
        return 5;
    if ((c & 0xF8) == 0xF0)
        return 4;
    if ((c & 0xF0) == 0xE0)
        return 3;
    if ((c & 0xE0) == 0xC0)
        return 2;
    return 1;
}

// The number of leading bytes of p[0, n) with the top bit clear. All n bytes must be
// readable: callers measure the text first (strlen/strnlen, which the C library does a
// vector at a time), so that the scan never reads past the terminator.
size_t asciiPrefix(const unsigned char* p, size_t n)
{
    size_t i = 0;
#if defined(__SSE2__)
    for (; i + 32 <= n; i += 32) {
        __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
        __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i + 16));
        unsigned mask = unsigned(_mm_movemask_epi8(a)) | (unsigned(_mm_movemask_epi8(b)) << 16);
        if (mask != 0)
            return i + size_t(__builtin_ctz(mask));
    }
    for (; i + 16 <= n; i += 16) {
        unsigned mask = unsigned(_mm_movemask_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i))));
        if (mask != 0)
            return i + size_t(__builtin_ctz(mask));
    }
#else
    for (; i + 8 <= n; i += 8) {
        uint64_t w;
        std::memcpy(&w, p + i, 8);
        if (w & 0x8080808080808080ull)
            break;
    }
#endif
    while (i < n && p[i] < 0x80)
        ++i;
    return i;
}

// How the platform string of a UTF-8 text is made: strict, keeping a byte-order mark.
QString decodeStrict(const char* s, size_t length)
{
    QStringDecoder decoder(QStringConverter::Utf8,
        QStringConverter::Flag::Stateless | QStringConverter::Flag::ConvertInitialBom);
    QString text = decoder.decode(QByteArrayView(s, qsizetype(length)));
    if (decoder.hasError())
        return QString();
    return text;
}

void logText(const char* s)
{
    QString text = utf8_to_cfstring(s);
    if (text.isNull()) {
        qInfo("utf8_trace: malformed string");
        return;
    }
    // The text is its own format with no arguments: only "%%" means something there.
    text.replace(QStringLiteral("%%"), QStringLiteral("%"));
    qInfo().noquote() << text;
}

uint64_t monotonicNanoseconds()
{
    timespec ts {};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return uint64_t(ts.tv_sec) * 1000000000u + uint64_t(ts.tv_nsec);
}

} // namespace

extern "C" {

uint32_t utf8_strlen(const char* s)
{
    if (s == nullptr)
        return 0;
    return uint32_t(asciiPrefix(reinterpret_cast<const unsigned char*>(s), std::strlen(s)));
}

char* utf8_strncpy(char* dst, const char* src, uint32_t n)
{
    if (dst == nullptr)
        return dst;
    const auto* s = reinterpret_cast<const unsigned char*>(src);
    while (isContinuation(*s))
        ++s;
    // Nothing at or after the terminator, nor beyond n bytes, can be copied.
    const size_t available = strnlen(reinterpret_cast<const char*>(s), n);
    size_t k = 0;
    while (k < available) {
        if (s[k] < 0x80) {
            k += asciiPrefix(s + k, available - k);
            continue;
        }
        const size_t length = sequenceLength(s[k]);
        if (k + length > n)
            break;
        // Past `available` (but within n) only when the terminator cuts the sequence.
        k = k + length < available ? k + length : available;
    }
    std::memcpy(dst, s, k);
    std::memset(dst + k, 0, n - k);
    return dst;
}

char* utf8_strlcpy(char* dst, const char* src, uint32_t n)
{
    if (dst == nullptr || n == 0)
        return dst;
    utf8_strncpy(dst, src, n - 1);
    dst[n - 1] = 0;
    return dst;
}

bool utf8_check(const char* s)
{
    if (s == nullptr)
        return false;
    const auto* p = reinterpret_cast<const unsigned char*>(s);
    const size_t length = std::strlen(s);
    size_t expectedEnd = 0;
    bool previousHigh = false; // the start of the text counts as ASCII
    size_t i = 0;
    while (i < length) {
        const unsigned char c = p[i];
        if (c < 0x80) {
            if (i != expectedEnd)
                return false;
            // Each ASCII byte of a run ends where the next begins.
            i += asciiPrefix(p + i, length - i);
            expectedEnd = i;
            previousHigh = false;
            continue;
        }
        if (isContinuation(c)) {
            if (!previousHigh)
                return false;
        } else if (c < 0xFE) {
            expectedEnd = i + sequenceLength(c);
        }
        previousHigh = true;
        ++i;
    }
    return expectedEnd == length;
}

bool utf8_verify(const char* s)
{
    return utf8_check(s);
}

bool utf8_is_ascii(const char* s, uint32_t n)
{
    if (s == nullptr)
        return false;
    const size_t length = n == 0 ? std::strlen(s) : strnlen(s, n);
    return asciiPrefix(reinterpret_cast<const unsigned char*>(s), length) == length;
}

const char* utf8_strchr(const char* s, int c)
{
    if (s == nullptr || *s == 0)
        return nullptr;
    const char* p = s + std::strlen(s) - 1;
    // To the lead byte of the last character: that character is never compared.
    while (p > s && isContinuation(static_cast<unsigned char>(*p)))
        --p;
    for (;;) {
        if (p == s)
            return nullptr;
        --p; // the last byte of the character before
        if (p == s)
            return nullptr;
        if (static_cast<signed char>(*p) == c)
            return p;
        while (p > s && isContinuation(static_cast<unsigned char>(*p)))
            --p;
    }
}

void utf8_log(const char* s)
{
    if (s == nullptr || *s == 0)
        return;
    logText(s);
}

void utf8_trace(const char* s)
{
    if (s == nullptr || *s == 0)
        return;
    const QString text = utf8_to_cfstring(s);
    std::fprintf(stderr, "%s\n", text.isNull() ? "(null)" : text.toUtf8().constData());
    std::fflush(stderr);
    logText(s);
}

void utf8_to_fileSystemRepresentation(char* dst, const char* src, uint32_t capacity)
{
    if (capacity == 0)
        return;
    *dst = 0;
    const QString text = utf8_to_cfstring(src);
    if (text.isNull())
        return;
    const QByteArray representation = QFile::encodeName(text);
    if (size_t(representation.size()) < capacity) {
        std::memcpy(dst, representation.constData(), size_t(representation.size()) + 1);
        return;
    }
    // Too long: cut at a character boundary rather than inside a sequence.
    utf8_strncpy(dst, representation.constData(), capacity - 1);
    dst[capacity - 1] = 0;
}

int utf8_unitTest(void)
{
    unsigned char name[20];
    utf8_to_fsspecFileSystemPascalString(name, "utf8 \xE2\x80\xA2 unit test", 19);
    const QString fileName = PvStringFromMacRoman(reinterpret_cast<const char*>(name + 1), name[0]);
    QFile file(QDir(QDir::tempPath()).filePath(fileName));
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.close();

    // Read through a volatile so that the compiler cannot fold the copies away.
    const char* volatile sourceSlot = "utf8 \xE2\x80\xA2 unit test of the bounded copies";
    const char* source = sourceSlot;
    char buffer[32];
    constexpr int kCalls = 10000000;

    uint64_t start = monotonicNanoseconds();
    for (int i = 0; i < kCalls; ++i) {
        utf8_strncpy(buffer, source, 31);
        asm volatile("" : : "r"(buffer) : "memory");
    }
    qInfo("%s took %ld ms", "utf8_strlcpy(*10000000)", long((monotonicNanoseconds() - start) / 100000));

    start = monotonicNanoseconds();
    for (int i = 0; i < kCalls; ++i) {
        std::snprintf(buffer, 32, "%s", source);
        asm volatile("" : : "r"(buffer) : "memory");
    }
    qInfo("%s took %ld ms", "     strlcpy(*10000000)", long((monotonicNanoseconds() - start) / 100000));
    return 1;
}

} // extern "C"

QString utf8_to_cfstring(const char* s)
{
    if (s == nullptr || *s == 0)
        return QString();
    return decodeStrict(s, std::strlen(s));
}

QString utf8_to_nsstring(const char* s)
{
    return utf8_to_cfstring(s);
}

uint32_t utf8_from_cfstring(char* dst, const QString& string, uint32_t capacity)
{
    if (capacity == 0)
        return 0;
    if (string.isNull()) {
        *dst = 0;
        return uint32_t(reinterpret_cast<uintptr_t>(dst));
    }
    const size_t room = capacity - 1;
    const size_t units = std::min<size_t>(room, size_t(string.size()));
    const char16_t* u = reinterpret_cast<const char16_t*>(string.utf16());
    auto* out = reinterpret_cast<unsigned char*>(dst);
    size_t written = 0;
    for (size_t i = 0; i < units; ++i) {
        char32_t cp = u[i];
        size_t consumed = 1;
        if (QChar::isHighSurrogate(cp) && i + 1 < units && QChar::isLowSurrogate(u[i + 1])) {
            cp = QChar::surrogateToUcs4(u[i], u[i + 1]);
            consumed = 2;
        } else if (QChar::isSurrogate(cp)) {
            cp = U'?';
        }
        unsigned char bytes[4];
        size_t n;
        if (cp < 0x80) {
            bytes[0] = static_cast<unsigned char>(cp);
            n = 1;
        } else if (cp < 0x800) {
            bytes[0] = static_cast<unsigned char>(0xC0 | (cp >> 6));
            bytes[1] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
            n = 2;
        } else if (cp < 0x10000) {
            bytes[0] = static_cast<unsigned char>(0xE0 | (cp >> 12));
            bytes[1] = static_cast<unsigned char>(0x80 | ((cp >> 6) & 0x3F));
            bytes[2] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
            n = 3;
        } else {
            bytes[0] = static_cast<unsigned char>(0xF0 | (cp >> 18));
            bytes[1] = static_cast<unsigned char>(0x80 | ((cp >> 12) & 0x3F));
            bytes[2] = static_cast<unsigned char>(0x80 | ((cp >> 6) & 0x3F));
            bytes[3] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
            n = 4;
        }
        if (written + n > room)
            break;
        std::memcpy(out + written, bytes, n);
        written += n;
        i += consumed - 1;
    }
    out[written] = 0;
    return uint32_t(written);
}

uint32_t utf8_from_nsstring(char* dst, const QString& string, uint32_t capacity)
{
    return utf8_from_cfstring(dst, string, capacity);
}

char* utf8_to_fsspecFileSystemCString(char* dst, const char* src, uint32_t capacity, QString* changed)
{
    if (capacity == 0)
        return dst;
    *dst = 0;
    if (changed != nullptr)
        *changed = QString();
    const QString name = utf8_to_cfstring(src);
    if (name.isNull())
        return dst;

    const QString composed = name.normalized(QString::NormalizationForm_C);
    const size_t room = capacity - 1;
    size_t written = 0;
    for (qsizetype i = 0; i < composed.size() && written < room; ++i) {
        const QChar unit = composed.at(i);
        if (unit.isHighSurrogate() && i + 1 < composed.size() && composed.at(i + 1).isLowSurrogate())
            ++i; // one replacement for the whole character
        const int byte = PvUnicodeToMacRoman(unit.unicode());
        dst[written++] = byte < 0 ? '_' : char(byte);
    }
    dst[written] = 0;

    if (changed != nullptr) {
        const QString decoded = PvStringFromMacRoman(dst, qsizetype(written));
        if (decoded != name)
            *changed = decoded;
    }
    return dst;
}

unsigned char* utf8_to_fsspecFileSystemPascalString(
    unsigned char* dst, const char* src, uint32_t capacity, QString* changed)
{
    if (capacity == 0)
        return dst;
    if (capacity > 255)
        capacity = 255;
    utf8_to_fsspecFileSystemCString(reinterpret_cast<char*>(dst), src, capacity, changed);
    const size_t length = std::strlen(reinterpret_cast<const char*>(dst));
    std::memmove(dst + 1, dst, length);
    dst[0] = static_cast<unsigned char>(length);
    return dst;
}

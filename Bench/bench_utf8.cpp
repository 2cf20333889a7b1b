// The UTF-8 functions on ASCII text against plain byte-at-a-time loops doing the same
// job, in one run.
#include <Pavo/PavoCore.h>

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

namespace {

// A 4 KiB ASCII text (as in names, paths and preset texts, only longer).
const std::string& asciiText()
{
    static const std::string text = [] {
        std::string s;
        while (s.size() < 4095)
            s += "Channel strip preset: low shelf 80 Hz, high cut 12 kHz. ";
        s.resize(4095);
        return s;
    }();
    return text;
}

size_t byteLength(unsigned char c)
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

// The same rules, one byte at a time.
bool byteCheck(const char* text)
{
    const auto* s = reinterpret_cast<const unsigned char*>(text);
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
            expectedEnd = i + byteLength(c);
        }
        previous = c;
    }
    return expectedEnd == i;
}

char* byteStrncpy(char* dst, const char* src, size_t n)
{
    const auto* s = reinterpret_cast<const unsigned char*>(src);
    while (*s >= 0x80 && *s < 0xC0)
        ++s;
    size_t k = 0;
    while (s[k] != 0) {
        const size_t length = byteLength(s[k]);
        if (k + length > n)
            break;
        for (size_t j = 0; j < length && s[k] != 0; ++j, ++k)
            dst[k] = char(s[k]);
    }
    for (; k < n; ++k)
        dst[k] = 0;
    return dst;
}

bool byteIsAscii(const char* s, size_t n)
{
    for (size_t i = 0; (n == 0 || i < n) && s[i] != 0; ++i)
        if (static_cast<unsigned char>(s[i]) & 0x80)
            return false;
    return true;
}

template <typename F> void run(benchmark::State& state, F f)
{
    const std::string& text = asciiText();
    for (auto _ : state)
        benchmark::DoNotOptimize(f(text.c_str()));
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}

void BM_utf8_check(benchmark::State& state)
{
    run(state, [](const char* s) { return utf8_check(s); });
}
void BM_byte_check(benchmark::State& state)
{
    run(state, [](const char* s) { return byteCheck(s); });
}
void BM_utf8_is_ascii(benchmark::State& state)
{
    run(state, [](const char* s) { return utf8_is_ascii(s, 0); });
}
void BM_byte_is_ascii(benchmark::State& state)
{
    run(state, [](const char* s) { return byteIsAscii(s, 0); });
}
void BM_utf8_strncpy(benchmark::State& state)
{
    static char dst[4096];
    run(state, [](const char* s) {
        utf8_strncpy(dst, s, sizeof dst);
        benchmark::ClobberMemory();
        return dst[100];
    });
}
void BM_byte_strncpy(benchmark::State& state)
{
    static char dst[4096];
    run(state, [](const char* s) {
        byteStrncpy(dst, s, sizeof dst);
        benchmark::ClobberMemory();
        return dst[100];
    });
}

} // namespace

BENCHMARK(BM_utf8_check);
BENCHMARK(BM_byte_check);
BENCHMARK(BM_utf8_is_ascii);
BENCHMARK(BM_byte_is_ascii);
BENCHMARK(BM_utf8_strncpy);
BENCHMARK(BM_byte_strncpy);

// Fuzzes the audio file naming rules with any bytes as names. Every in-place operation
// runs on a heap buffer of exactly the name's length plus its terminator (the extension
// setter on one of exactly max(name + 1, size) bytes), so the sanitizers see any write
// past it; the documented bounds are checked on every result.
//
// Input layout: [size byte][flags byte][name bytes][0][extension bytes]; a missing zero
// leaves the extension empty.
#include <Pavo/PavoCore.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace {

std::unique_ptr<char[]> copyOf(const std::string& text, size_t size)
{
    std::unique_ptr<char[]> buffer(new char[size]);
    std::memset(buffer.get(), 0x7E, size);
    std::memcpy(buffer.get(), text.c_str(), text.size() + 1);
    return buffer;
}

void check(bool condition)
{
    if (!condition)
        std::abort();
}

// Strict structure: every lead byte is followed by exactly its continuation bytes (the
// 5- and 6-byte forms included, as the UTF-8 helpers accept them).
bool wellFormed(const char* text)
{
    for (const auto* p = reinterpret_cast<const unsigned char*>(text); *p;) {
        const unsigned char c = *p++;
        int more = c < 0x80 ? 0
            : c < 0xC0      ? -1
            : c < 0xE0      ? 1
            : c < 0xF0      ? 2
            : c < 0xF8      ? 3
            : c < 0xFC      ? 4
            : c < 0xFE      ? 5
                            : -1;
        if (more < 0)
            return false;
        for (; more > 0; --more)
            if ((*p++ & 0xC0) != 0x80)
                return false;
    }
    return true;
}

FSSpec specOf(const std::string& name)
{
    FSSpec fsSpec;
    std::memset(&fsSpec, 0, sizeof fsSpec);
    const size_t n = std::min<size_t>(name.size(), sizeof fsSpec.name - 1);
    fsSpec.name[0] = uint8_t(n);
    std::memcpy(fsSpec.name + 1, name.data(), n);
    return fsSpec;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    const int bufSize = int(int8_t(data[0])); // negative sizes too
    const int flags = data[1] & 7;
    const char* text = reinterpret_cast<const char*>(data + 2);
    const size_t rest = size - 2;
    const char* zero = static_cast<const char*>(std::memchr(text, 0, rest));
    const std::string name(text, zero ? size_t(zero - text) : rest);
    const std::string ext
        = zero ? std::string(zero + 1, strnlen(zero + 1, rest - name.size() - 1)) : std::string();
    const size_t len = name.size();

    {
        auto n = copyOf(name, len + 1);
        const int result = CFileUtilHasStereoExtension(n.get(), flags);
        check(result >= -2 && std::strlen(n.get()) <= len);
        if ((flags & 2) && result >= 0)
            check(size_t(result) <= len);
        else if (result >= 0)
            check(result < 2 * kAudioFileTypeRows);
    }
    {
        const int index = CFileUtilHasStereoExtension(name.c_str());
        const int at = CFileUtilGetPointExt(name.c_str());
        check((index < 0) == (at < 0));
        char suffix[8];
        if (index >= 0)
            check(CFileUtilGetStereoExtension(suffix, index) == suffix && std::strlen(suffix) < 7);
    }
    {
        auto n = copyOf(name, len + 1);
        CFileUtilCutKnownAudioFileExtension(n.get());
        check(std::strlen(n.get()) <= len);
        auto m = copyOf(name, len + 1);
        CFileUtilCutExtension(m.get(), nullptr);
        CFileUtilCutExtension(m.get(), ext.c_str());
        check(std::strlen(m.get()) <= len);
    }
    {
        const size_t room = std::max<size_t>(len + 1, bufSize > 0 ? size_t(bufSize) : 0);
        auto n = copyOf(name, room);
        const char* at = CFileUtilSetNewExtension(n.get(), ext.c_str(), bufSize);
        if (at) {
            check(std::strlen(n.get()) + 1 <= size_t(bufSize) && std::strcmp(at, ext.c_str()) == 0);
            if (wellFormed(name.c_str()) && wellFormed(ext.c_str()))
                check(wellFormed(n.get()));
        } else {
            check(std::strcmp(n.get(), name.c_str()) == 0);
        }
        auto m = copyOf(name, room);
        if (CFileUtilSetExtension(m.get(), ext.c_str(), bufSize))
            check(std::strlen(m.get()) + 1 <= size_t(bufSize));
    }
    {
        FSSpec fsSpec = specOf(name);
        CFileUtilEnsureFSSpecExtension(&fsSpec, ext.c_str());
        check(fsSpec.name[0] <= 31);
        fsSpec = specOf(name);
        CFileUtilSetFSSpecExtension(&fsSpec, ext.c_str());
        check(fsSpec.name[0] <= 31);
        fsSpec = specOf(name);
        CFileUtilSetNewFSSpecExtension(&fsSpec, ext.c_str());
        check(fsSpec.name[0] <= 31);
        fsSpec = specOf(name);
        CFileUtilCutFSSpecExtension(&fsSpec);
        check(fsSpec.name[0] <= 31);
        fsSpec = specOf(name);
        FSSpec partner;
        if (CFileUtilGetStereoPartnerFSSpec(&fsSpec, &partner))
            check(partner.name[0] == std::min<int>(fsSpec.name[0], 31));
        CFileUtilFileType(&fsSpec); // volume 0: the name alone decides
        CFileUtilFileTypeFromName(name.c_str());
    }
    return 0;
}

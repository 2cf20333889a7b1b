// Sound Designer II: the data fork holds nothing but big-endian interleaved samples; the
// resource fork describes them with three 'STR ' resources (1000 "sample-size" in bytes,
// 1001 "sample-rate", 1002 "channels", each a Pascal string of decimal text). Every other
// resource is user data. The fork travels in an extended attribute or in an AppleDouble
// file; both are parsed here with bounds checks on every offset.
#include "PvAudioFile_p.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <map>

namespace pvaf {

namespace {

constexpr uint32_t kStr = PvFourCC("STR ");
constexpr int16_t kSampleSizeID = 1000;
constexpr int16_t kSampleRateID = 1001;
constexpr int16_t kChannelsID = 1002;
constexpr uint32_t kAppleDoubleMagic = 0x00051607;
constexpr uint32_t kAppleDoubleVersion = 0x00020000;
constexpr uint32_t kEntryResourceFork = 2;
constexpr uint32_t kEntryFinderInfo = 9;
constexpr size_t kForkDataStart = 256; // data follows the 256-byte header area

bool isFormatResource(uint32_t type, int16_t id)
{
    return type == kStr && (id == kSampleSizeID || id == kSampleRateID || id == kChannelsID);
}

// The text of a 'STR ' resource (a Pascal string) as a number; false when it is none.
bool numberOf(const Bytes& data, double& out)
{
    if (data.empty() || data[0] + 1u > data.size())
        return false;
    std::string text(reinterpret_cast<const char*>(data.data()) + 1, data[0]);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\0'))
        text.pop_back();
    size_t start = 0;
    while (start < text.size() && text[start] == ' ')
        ++start;
    const char* first = text.data() + start;
    const char* last = text.data() + text.size();
    auto [end, ec] = std::from_chars(first, last, out);
    return ec == std::errc() && end == last && first != last;
}

Bytes pascalText(const std::string& s)
{
    const size_t n = std::min<size_t>(s.size(), 255);
    Bytes b(n + 1);
    b[0] = uint8_t(n);
    std::memcpy(b.data() + 1, s.data(), n);
    return b;
}

Bytes pascalName(const char* name)
{
    return pascalText(name);
}

} // namespace

OSStatus parseSd2Fork(const Bytes& fork, uint64_t dataForkSize, Layout& l)
{
    const size_t n = fork.size();
    if (n < 16)
        return kAudioFileUnsupportedFileTypeError;
    const uint8_t* p = fork.data();
    const uint64_t dataOff = be32(p), mapOff = be32(p + 4), dataLen = be32(p + 8), mapLen = be32(p + 12);
    if (dataOff > n || dataLen > n - dataOff || mapOff > n || mapLen > n - mapOff || mapLen < 30)
        return kAudioFileUnsupportedFileTypeError;
    const uint8_t* map = p + mapOff;
    const uint64_t typeListOff = be16(map + 24);
    const uint64_t nameListOff = be16(map + 26);
    if (typeListOff + 2 > mapLen)
        return kAudioFileUnsupportedFileTypeError;
    const uint8_t* typeList = map + typeListOff;
    const uint32_t numTypes = uint32_t(be16(typeList) + 1) & 0xFFFF;
    if (typeListOff + 2 + uint64_t(numTypes) * 8 > mapLen)
        return kAudioFileUnsupportedFileTypeError;
    l = Layout {};
    l.type = kAudioFileSoundDesigner2Type;
    std::map<int16_t, Bytes> format;
    for (uint32_t t = 0; t < numTypes; ++t) {
        const uint8_t* te = typeList + 2 + 8 * t;
        const uint32_t type = be32(te);
        const uint32_t count = uint32_t(be16(te + 4)) + 1;
        const uint64_t refOff = typeListOff + be16(te + 6);
        if (refOff + uint64_t(count) * 12 > mapLen)
            return kAudioFileInvalidFileError;
        for (uint32_t r = 0; r < count; ++r) {
            const uint8_t* re = map + refOff + 12 * r;
            Chunk c;
            c.id = type;
            c.resID = int16_t(be16(re));
            const uint16_t nameOff = be16(re + 2);
            c.resAttrs = re[4];
            const uint64_t off = (uint64_t(re[5]) << 16) | (uint64_t(re[6]) << 8) | re[7];
            if (off + 4 > dataLen)
                return kAudioFileInvalidFileError;
            const uint64_t len = be32(p + dataOff + off);
            if (len > dataLen - off - 4)
                return kAudioFileInvalidFileError;
            c.payload.assign(p + dataOff + off + 4, p + dataOff + off + 4 + len);
            c.size = len;
            c.loaded = true;
            if (nameOff != 0xFFFF) {
                const uint64_t at = nameListOff + nameOff;
                // Names are only labels, and some writers get their lengths wrong: a
                // name that runs past the map is dropped, not the file.
                if (at < mapLen && at + 1 + map[at] <= mapLen)
                    c.resName.assign(map + at, map + at + 1 + map[at]);
            }
            if (isFormatResource(type, c.resID))
                format[c.resID] = c.payload;
            else
                l.chunks.push_back(std::move(c));
        }
    }
    double size = 0, rate = 0, channels = 0;
    if (!numberOf(format[kSampleSizeID], size) || !numberOf(format[kSampleRateID], rate)
        || !numberOf(format[kChannelsID], channels))
        return kAudioFileUnsupportedFileTypeError;
    if (!(size >= 1 && size <= 4 && size == int(size)) || !(channels >= 1 && channels <= 65535)
        || channels != int(channels) || !saneRate(rate))
        return kAudioFileInvalidFileError;
    // Keep resources of one type together and in ID order: index N of a type is stable.
    std::stable_sort(l.chunks.begin(), l.chunks.end(),
        [](const Chunk& a, const Chunk& b) { return a.id != b.id ? a.id < b.id : a.resID < b.resID; });
    AudioStreamBasicDescription& f = l.fmt;
    f.mSampleRate = rate;
    f.mFormatID = kAudioFormatLinearPCM;
    f.mFormatFlags = kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsBigEndian;
    f.mChannelsPerFrame = uint32_t(channels);
    f.mBitsPerChannel = uint32_t(size) * 8;
    if (!completePCM(f, uint32_t(size)))
        return kAudioFileInvalidFileError;
    l.sampleWidth = uint32_t(size);
    l.dataOffset = 0;
    l.dataSize = dataForkSize - dataForkSize % f.mBytesPerFrame;
    l.canonical = true;
    return noErr;
}

OSStatus prepareSd2(Layout& l)
{
    AudioStreamBasicDescription& f = l.fmt;
    const uint32_t bits = f.mBitsPerChannel;
    if (f.mFormatID != kAudioFormatLinearPCM || (f.mFormatFlags & kAudioFormatFlagIsFloat) || bits % 8 != 0
        || bits < 8 || bits > 32 || !saneRate(f.mSampleRate))
        return kAudioFileUnsupportedDataFormatError;
    if (!(f.mFormatFlags & kAudioFormatFlagIsBigEndian) && bits > 8)
        return kAudioFileUnsupportedDataFormatError;
    f.mFormatFlags = kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsBigEndian;
    if (!completePCM(f, bits / 8))
        return kAudioFileUnsupportedDataFormatError;
    l.sampleWidth = bits / 8;
    return noErr;
}

Bytes buildSd2Fork(const Layout& l)
{
    std::vector<Chunk> all;
    char rate[64];
    std::snprintf(rate, sizeof rate, "%.6f", l.fmt.mSampleRate); // '.' in every C-locale build
    for (char* c = rate; *c; ++c)
        if (*c == ',')
            *c = '.';
    const std::pair<int16_t, std::pair<std::string, const char*>> format[] = {
        {kSampleSizeID, {std::to_string(l.sampleWidth), "sample-size"}},
        {kSampleRateID, {rate, "sample-rate"}},
        {kChannelsID, {std::to_string(l.fmt.mChannelsPerFrame), "channels"}},
    };
    for (const auto& [id, value] : format) {
        Chunk c;
        c.id = kStr;
        c.resID = id;
        c.payload = pascalText(value.first);
        c.size = c.payload.size();
        c.resName = pascalName(value.second);
        all.push_back(std::move(c));
    }
    all.insert(all.end(), l.chunks.begin(), l.chunks.end());
    // Group by type, in order of first appearance.
    std::vector<uint32_t> types;
    for (const Chunk& c : all)
        if (std::find(types.begin(), types.end(), c.id) == types.end())
            types.push_back(c.id);

    Bytes data, names, refs;
    std::vector<std::pair<uint32_t, std::vector<const Chunk*>>> groups;
    for (uint32_t t : types) {
        std::vector<const Chunk*> members;
        for (const Chunk& c : all)
            if (c.id == t)
                members.push_back(&c);
        groups.emplace_back(t, std::move(members));
    }
    if (groups.size() > 0x10000)
        return {};
    Bytes typeList;
    putBE16(typeList, uint32_t(groups.size() - 1) & 0xFFFF);
    const size_t refStart = 2 + 8 * groups.size();
    for (const auto& [type, members] : groups) {
        putBE32(typeList, type);
        putBE16(typeList, uint32_t(members.size() - 1));
        putBE16(typeList, uint32_t(refStart + refs.size()));
        for (const Chunk* c : members) {
            putBE16(refs, uint16_t(c->resID));
            if (c->resName.empty()) {
                putBE16(refs, 0xFFFF);
            } else {
                putBE16(refs, uint32_t(names.size()));
                names.insert(names.end(), c->resName.begin(), c->resName.end());
            }
            refs.push_back(c->resAttrs);
            const uint32_t off = uint32_t(data.size());
            refs.push_back(uint8_t(off >> 16));
            refs.push_back(uint8_t(off >> 8));
            refs.push_back(uint8_t(off));
            putBE32(refs, 0);
            putBE32(data, uint32_t(c->payload.size()));
            data.insert(data.end(), c->payload.begin(), c->payload.end());
        }
    }
    if (data.size() >= (1u << 24) || 28 + typeList.size() + refs.size() > 0xFFFF || names.size() > 0xFFFF)
        return {}; // resource data offsets are 24 bits, map offsets 16 bits
    const uint32_t dataOff = kForkDataStart;
    const uint32_t mapOff = dataOff + uint32_t(data.size());
    Bytes map;
    map.resize(24, 0); // header copy, next map, file reference, attributes: filled below
    putBE16(map, 28); // type list offset
    putBE16(map, uint32_t(28 + typeList.size() + refs.size())); // name list offset
    map.insert(map.end(), typeList.begin(), typeList.end());
    map.insert(map.end(), refs.begin(), refs.end());
    map.insert(map.end(), names.begin(), names.end());
    Bytes header;
    putBE32(header, dataOff);
    putBE32(header, mapOff);
    putBE32(header, uint32_t(data.size()));
    putBE32(header, uint32_t(map.size()));
    std::copy(header.begin(), header.end(), map.begin());
    Bytes fork = header;
    fork.resize(kForkDataStart, 0);
    fork.insert(fork.end(), data.begin(), data.end());
    fork.insert(fork.end(), map.begin(), map.end());
    return fork;
}

bool resourceForkFromAppleDouble(const Bytes& ad, Bytes& fork)
{
    if (ad.size() < 26 || be32(ad.data()) != kAppleDoubleMagic)
        return false;
    const uint32_t entries = be16(ad.data() + 24);
    if (26 + uint64_t(entries) * 12 > ad.size())
        return false;
    for (uint32_t i = 0; i < entries; ++i) {
        const uint8_t* e = ad.data() + 26 + 12 * i;
        if (be32(e) != kEntryResourceFork)
            continue;
        const uint64_t off = be32(e + 4), len = be32(e + 8);
        if (off > ad.size() || len > ad.size() - off)
            return false;
        fork.assign(ad.begin() + long(off), ad.begin() + long(off + len));
        return true;
    }
    return false;
}

Bytes appleDoubleWithFork(const Bytes& fork, uint32_t type, uint32_t creator)
{
    Bytes b;
    putBE32(b, kAppleDoubleMagic);
    putBE32(b, kAppleDoubleVersion);
    b.resize(24, 0); // filler
    putBE16(b, 2);
    const uint32_t finderAt = 26 + 2 * 12;
    putBE32(b, kEntryFinderInfo);
    putBE32(b, finderAt);
    putBE32(b, 32);
    putBE32(b, kEntryResourceFork);
    putBE32(b, finderAt + 32);
    putBE32(b, uint32_t(fork.size()));
    putBE32(b, type);
    putBE32(b, creator);
    b.resize(finderAt + 32, 0);
    b.insert(b.end(), fork.begin(), fork.end());
    return b;
}

} // namespace pvaf

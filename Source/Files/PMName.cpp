#include "PMName.h"

#include <cstring>
#include <new>

namespace {

// The stored length is in little-endian order whatever the processor.
void putLittle(unsigned char* out, uint32_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        out[i] = uint8_t(value >> (8 * i));
}

uint32_t getLittle(const unsigned char* in, int bytes)
{
    uint32_t value = 0;
    for (int i = 0; i < bytes; ++i)
        value |= uint32_t(in[i]) << (8 * i);
    return value;
}

} // namespace

PMNameException::PMNameException(tNameException reason)
{
    (void)reason; // not kept: callers only learn that the name could not be handled
}

PMName::PMName(const char* text)
{
    Set(text);
}

PMName::PMName(const PMName& other)
{
    Set(other.mName);
}

PMName& PMName::operator=(const PMName& other)
{
    if (this != &other)
        Set(other.mName);
    return *this;
}

PMName::~PMName()
{
    delete[] mName;
}

void PMName::Set(const char* text)
{
    char* copy = nullptr;
    if (text) {
        const size_t length = std::strlen(text);
        copy = new char[length + 1];
        std::memcpy(copy, text, length + 1);
    }
    delete[] mName;
    mName = copy;
}

char* PMName::Allocate(unsigned long length)
{
    delete[] mName;
    mName = nullptr;
    mName = new char[size_t(length) + 1];
    return mName;
}

void PMName::Cat(const char* text)
{
    if (!text || !*text)
        return;
    const size_t oldLength = mName ? std::strlen(mName) : 0;
    const size_t addLength = std::strlen(text);
    char* joined = nullptr;
    try {
        joined = new char[oldLength + addLength + 1];
    } catch (const std::bad_alloc&) {
        throw PMNameException(kNameOutOfMemory);
    }
    if (oldLength)
        std::memcpy(joined, mName, oldLength);
    std::memcpy(joined + oldLength, text, addLength + 1);
    delete[] mName;
    mName = joined;
}

void PMName::GetElements(char separator, std::list<PMName>& out) const
{
    if (!mName)
        return;
    const char* p = mName;
    if (separator && *p == separator)
        ++p;
    while (*p) {
        // strchr also finds the terminator when the separator is '\0'.
        const char* end = separator ? std::strchr(p, separator) : nullptr;
        const size_t length = end ? size_t(end - p) : std::strlen(p);
        PMName element;
        char* text = element.Allocate(length);
        std::memcpy(text, p, length);
        text[length] = 0;
        out.push_back(element);
        if (!end)
            break;
        p = end + 1;
    }
}

OSErr PMName::ToFile(CFileIO& file, unsigned char shortForm) const
{
    const size_t length = mName ? std::strlen(mName) : 0;
    const int bytes = shortForm ? 2 : 4;
    if (length > (shortForm ? size_t(0x7FFF) : size_t(0x7FFFFFFF)))
        return paramErr;
    unsigned char prefix[4];
    putLittle(prefix, uint32_t(length), bytes);
    if (OSErr err = file.Write(prefix, bytes))
        return err;
    if (length > 0)
        return file.Write(mName, int32_t(length));
    return noErr;
}

OSErr PMName::FromFile(CFileIO& file, unsigned char shortForm)
{
    const int bytes = shortForm ? 2 : 4;
    unsigned char prefix[4] = {};
    if (OSErr err = file.Read(prefix, bytes))
        return err;
    const uint32_t raw = getLittle(prefix, bytes);
    // Read as signed: a 2-byte length of 0x8000 or more is negative.
    const int64_t length = shortForm ? int64_t(int16_t(uint16_t(raw))) : int64_t(int32_t(raw));
    if (length < 0)
        throw PMNameException(kNameNegativeLength);
    if (length == 0)
        return noErr;
    // Do not allocate more than the file can still deliver.
    if (length > file.GetEOF() - file.position())
        return eofErr;
    char* text = Allocate((unsigned long)length);
    const OSErr err = file.Read(text, int32_t(length));
    text[length] = 0;
    return err;
}

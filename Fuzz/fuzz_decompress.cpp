// Fuzzes decompressedData with any bytes as a zlib stream. A stream that expands must
// compress and expand back to the same bytes; anything else must give a null result.
#include <Pavo/PavoCore.h>

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray input = QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    const QByteArray out = decompressedData(input);
    if (size == 0 && !out.isEmpty())
        __builtin_trap();
    if (size == 1 && !out.isNull())
        __builtin_trap();
    if (!out.isEmpty() && decompressedData(compressedData(out)) != out)
        __builtin_trap();
    return 0;
}

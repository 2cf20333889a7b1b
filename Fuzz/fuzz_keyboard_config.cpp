// The system keyboard configuration (/etc/default/keyboard) as the layout service reads it.
#include <Pavo/PavoUI.h>

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    const PvKeyboardLayoutName name = PvKeyboardLayout::layoutNameFromConfig(bytes);
    // A name is a single list entry: never a list, never blank around its ends.
    if (name.layout.contains(QLatin1Char(',')) || name.variant.contains(QLatin1Char(','))
        || name.layout != name.layout.trimmed() || (name.layout.isEmpty() && !name.variant.isEmpty()))
        std::abort();
    return 0;
}

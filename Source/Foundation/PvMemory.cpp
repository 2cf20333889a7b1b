#include "PvMemory.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace {

int s_inited = 0;
int s_count = 0;
unsigned s_behavior = 2;
MemExceptionHandler s_handler = nullptr;

const PvAllocator kSystemAllocator = {std::malloc, std::calloc, std::realloc, std::free};
PvAllocator s_allocator = kSystemAllocator;

// Applies the policy after a failed allocation; true asks for a retry.
bool memory_exception()
{
    unsigned code = s_behavior;
    for (;;) {
        switch (code) {
        case 0: {
            static const char kMessage[] = "Fatal error: out of memory\n";
            [[maybe_unused]] ssize_t written = write(STDERR_FILENO, kMessage, sizeof kMessage - 1);
            std::exit(1);
        }
        case 1:
            std::exit(1);
        case 2:
            return false;
        case 3:
            code = s_handler ? s_handler() : 2u;
            break;
        case 4:
            return true;
        default:
            // A corrupt policy: never return, by design.
            for (;;)
                pause();
        }
    }
}

// Sizes are 32-bit quantities, as callers of this module always had them.
size_t byteCount(int size)
{
    return size_t(uint32_t(size));
}

} // namespace

extern "C" {

int Mem_InitModule(void)
{
    if (!s_inited) {
        s_count = 0;
        s_inited = 1;
    }
    return 1;
}

void Mem_TermModule(void)
{
    s_inited = 0;
}

MemExceptionHandler Mem_SetException(unsigned policy, MemExceptionHandler handler)
{
    s_behavior = policy;
    s_handler = policy == 3 ? handler : nullptr;
    return s_handler;
}

void* Mem_malloc(int size)
{
    if (size == 0)
        return nullptr;
    for (;;) {
        if (void* block = s_allocator.allocate(byteCount(size))) {
            ++s_count;
            return block;
        }
        if (!memory_exception())
            return nullptr;
    }
}

void* Mem_calloc(unsigned count, unsigned size)
{
    if (uint32_t(count * size) == 0)
        return nullptr;
    for (;;) {
        if (void* block = s_allocator.allocateZeroed(count, size)) {
            ++s_count;
            return block;
        }
        if (!memory_exception())
            return nullptr;
    }
}

void* Mem_realloc(void* block, int size)
{
    if (!block)
        return Mem_malloc(size);
    if (size == 0) {
        Mem_free(block);
        return nullptr;
    }
    for (;;) {
        if (void* resized = s_allocator.reallocate(block, byteCount(size)))
            return resized;
        if (!memory_exception())
            return nullptr;
    }
}

char* Mem_strdup(const char* text)
{
    if (!text)
        return nullptr;
    const size_t length = std::strlen(text);
    char* copy = static_cast<char*>(Mem_malloc(int(length + 1)));
    if (copy)
        std::memcpy(copy, text, length + 1);
    return copy;
}

void Mem_free(void* block)
{
    if (!block)
        return;
    --s_count;
    s_allocator.release(block);
}

int Mem_BlockCount(void)
{
    return s_count;
}

int Mem_IsInitialized(void)
{
    return s_inited;
}

void Mem_SetAllocator(const PvAllocator* allocator)
{
    s_allocator = allocator ? *allocator : kSystemAllocator;
}
}

// The counted memory module: allocation calls that count live blocks and apply a
// selectable out-of-memory policy when an allocation fails.
//
// Policies (Mem_SetException):
//   0  write "Fatal error: out of memory" to standard error and exit with status 1
//   1  exit with status 1 silently
//   2  give up: the call returns null (the initial policy)
//   3  ask the handler; its answer is taken as a policy code and applied in turn
//      (4 retries, 2 gives up, 3 asks again)
//   4  retry the allocation
// A code above 4 must never be stored: the policy routine then never returns.
// The state is process-wide and unlocked: use the module from one thread, or give up on
// exact counts.
#pragma once

#include <cstddef>

extern "C" {

/// Out-of-memory handler: returns a policy code (see above).
typedef unsigned (*MemExceptionHandler)(void);

/// Marks the module initialised and sets the count to 0; on an initialised module it
/// changes nothing. Returns 1.
int Mem_InitModule(void);
/// Clears the initialised mark; the count stays as it is.
void Mem_TermModule(void);
/// Stores `policy`; stores `handler` only under policy 3 (else clears it). Returns the
/// handler now stored. Policy 3 without a handler behaves as policy 2.
MemExceptionHandler Mem_SetException(unsigned policy, MemExceptionHandler handler);

/// Allocates `size` bytes; 0 returns null without allocating. Null when the policy gives up.
void* Mem_malloc(int size);
/// Zero-filled allocation; null without allocating when count × size, computed in 32 bits
/// with wrap-around, is 0.
void* Mem_calloc(unsigned count, unsigned size);
/// A null block allocates; a size of 0 frees the block and returns null. When the policy
/// gives up, returns null and the old block stays valid and counted.
void* Mem_realloc(void* block, int size);
/// Copies a zero-terminated text; null for a null text or when the policy gives up.
char* Mem_strdup(const char* text);
/// Frees a block of these calls; null is ignored.
void Mem_free(void* block);

/// Number of live blocks handed out by the calls above.
int Mem_BlockCount(void);
/// Whether Mem_InitModule was called more recently than Mem_TermModule.
int Mem_IsInitialized(void);

/// The allocator underneath the module, replaceable so that tests can make allocations
/// fail. Mem_SetAllocator(nullptr) restores the C library's functions.
typedef struct PvAllocator {
    void* (*allocate)(size_t size);
    void* (*allocateZeroed)(size_t count, size_t size);
    void* (*reallocate)(void* block, size_t size);
    void (*release)(void* block);
} PvAllocator;
void Mem_SetAllocator(const PvAllocator* allocator);
}

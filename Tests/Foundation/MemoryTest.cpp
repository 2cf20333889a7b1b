#include <Pavo/PavoCore.h>

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

// An allocator that fails on demand and counts the calls that reach it.
struct FailingAllocator {
    static inline int calls = 0;
    static inline int failuresLeft = 0;
    static bool shouldFail()
    {
        ++calls;
        if (failuresLeft == 0)
            return false;
        if (failuresLeft > 0)
            --failuresLeft;
        return true;
    }
    static void* allocate(size_t n) { return shouldFail() ? nullptr : std::malloc(n); }
    static void* allocateZeroed(size_t c, size_t n) { return shouldFail() ? nullptr : std::calloc(c, n); }
    static void* reallocate(void* b, size_t n) { return shouldFail() ? nullptr : std::realloc(b, n); }
    static void release(void* b) { std::free(b); }
    static constexpr PvAllocator table {allocate, allocateZeroed, reallocate, release};
};

class Memory : public ::testing::Test {
protected:
    void SetUp() override
    {
        FailingAllocator::calls = 0;
        FailingAllocator::failuresLeft = 0;
        Mem_SetAllocator(&FailingAllocator::table);
        Mem_SetException(2, nullptr);
    }
    void TearDown() override
    {
        Mem_SetAllocator(nullptr);
        Mem_SetException(2, nullptr);
    }
};

unsigned s_answers[8];
int s_answerIndex = 0;
unsigned scriptedHandler()
{
    return s_answers[s_answerIndex++];
}

} // namespace

TEST_F(Memory, CountsLiveBlocks)
{
    EXPECT_EQ(Mem_InitModule(), 1);
    const int start = Mem_BlockCount();
    void* a = Mem_malloc(10);
    void* b = Mem_calloc(4, 4);
    char* c = Mem_strdup("tone");
    ASSERT_TRUE(a && b && c);
    EXPECT_STREQ(c, "tone");
    EXPECT_EQ(static_cast<unsigned char*>(b)[15], 0);
    EXPECT_EQ(Mem_BlockCount(), start + 3);
    a = Mem_realloc(a, 1000); // a resize keeps the count
    EXPECT_EQ(Mem_BlockCount(), start + 3);
    EXPECT_EQ(Mem_realloc(a, 0), nullptr); // frees
    Mem_free(b);
    Mem_free(c);
    Mem_free(nullptr);
    EXPECT_EQ(Mem_BlockCount(), start);
    void* fresh = Mem_realloc(nullptr, 8); // a null block is a new one
    EXPECT_EQ(Mem_BlockCount(), start + 1);
    Mem_free(fresh);
    EXPECT_EQ(Mem_strdup(nullptr), nullptr);
}

TEST_F(Memory, ZeroSizesAllocateNothing)
{
    const int start = Mem_BlockCount();
    EXPECT_EQ(Mem_malloc(0), nullptr);
    EXPECT_EQ(Mem_calloc(0, 12), nullptr);
    EXPECT_EQ(Mem_calloc(12, 0), nullptr);
    EXPECT_EQ(Mem_calloc(65536, 65536), nullptr) << "the 32-bit product wraps to 0";
    EXPECT_EQ(FailingAllocator::calls, 0);
    EXPECT_EQ(Mem_BlockCount(), start);
}

TEST_F(Memory, InitialisationTogglesOnlyTheMark)
{
    Mem_InitModule();
    void* block = Mem_malloc(4);
    const int count = Mem_BlockCount();
    Mem_InitModule();
    EXPECT_EQ(Mem_IsInitialized(), 1);
    EXPECT_EQ(Mem_BlockCount(), count) << "a call on an initialised module changes nothing";
    Mem_TermModule();
    EXPECT_EQ(Mem_IsInitialized(), 0);
    EXPECT_EQ(Mem_BlockCount(), count) << "terminating leaves the count";
    Mem_InitModule();
    EXPECT_EQ(Mem_BlockCount(), 0) << "initialising again starts a new count";
    Mem_free(block);
    Mem_InitModule();
    Mem_TermModule();
}

TEST_F(Memory, HandlerRetriesThenGivesUp)
{
    s_answers[0] = 4;
    s_answers[1] = 4;
    s_answers[2] = 2;
    s_answerIndex = 0;
    EXPECT_EQ(Mem_SetException(3, scriptedHandler), &scriptedHandler);
    FailingAllocator::failuresLeft = -1; // fail for ever
    const int start = Mem_BlockCount();
    EXPECT_EQ(Mem_malloc(100), nullptr);
    EXPECT_EQ(FailingAllocator::calls, 3);
    EXPECT_EQ(s_answerIndex, 3);
    EXPECT_EQ(Mem_BlockCount(), start);

    // A retry that succeeds returns a counted block.
    s_answers[0] = 4;
    s_answerIndex = 0;
    FailingAllocator::failuresLeft = 1;
    void* block = Mem_calloc(2, 2);
    EXPECT_NE(block, nullptr);
    EXPECT_EQ(Mem_BlockCount(), start + 1);
    Mem_free(block);

    EXPECT_EQ(Mem_SetException(2, scriptedHandler), nullptr) << "only policy 3 keeps a handler";
}

TEST_F(Memory, FailedResizeKeepsTheOldBlock)
{
    char* block = static_cast<char*>(Mem_malloc(4));
    ASSERT_NE(block, nullptr);
    block[0] = 'k';
    const int count = Mem_BlockCount();
    FailingAllocator::failuresLeft = 1;
    EXPECT_EQ(Mem_realloc(block, 1 << 20), nullptr);
    EXPECT_EQ(block[0], 'k');
    EXPECT_EQ(Mem_BlockCount(), count);
    Mem_free(block);
}

TEST_F(Memory, FatalPoliciesEndTheProcess)
{
    // Policy 0 says why, policy 1 ends silently, and a handler may choose a fatal policy.
    for (int policy : {0, 1, 3}) {
        SCOPED_TRACE(policy);
        EXPECT_EXIT(
            {
                Mem_SetAllocator(&FailingAllocator::table);
                FailingAllocator::failuresLeft = -1;
                s_answers[0] = 1;
                s_answerIndex = 0;
                Mem_SetException(policy, policy == 3 ? scriptedHandler : nullptr);
                if (policy == 3)
                    Mem_strdup("x");
                else
                    Mem_malloc(16);
            },
            ::testing::ExitedWithCode(1), policy == 0 ? "^Fatal error: out of memory\n$" : "^$");
    }
}

// Trace output and assertions with a per-call-site budget.
//
// dbgTRACE formats into one process-wide 4096-byte buffer and writes to standard error.
// dbgASSERT shows a three-button alert through PvRunAlert (see PvPlatformOps.h): with no
// display the alert text goes to standard error and the answer is "Resume". Both are
// meant for the main thread; concurrent traces may interleave.
#pragma once

#include <cstdint>

extern "C" {

/// 1 after the most recent dbgASSERT whose condition was false, else 0.
extern int sAssertionFailed;

/// printf-style trace to standard error. A line feed is appended unless the text ends in
/// one; a text ending in a backspace (8) is printed without it and without a line feed.
/// The text is cut to 4095 bytes (the last of which then becomes a line feed). An empty
/// text or a null format prints nothing.
void dbgTRACE(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// The assertion routine. When `condition` is zero it traces "ASSERT(expression) in
/// location failed." and shows an alert with the buttons "Resume", "Debugger" and, without
/// a budget, "Stop" (which ends the process), or with a budget "Don't show again" (which
/// sets *showCount to 0).
/// `showCount` is the call site's budget, kept by the caller in a static: -1 shows every
/// failure, n > 0 shows n more, 0 (or any other value) stays silent. Null pointers for
/// `expression`, `location` or `showCount` are accepted.
void dbgASSERT(int condition, const char* expression, const char* location, int* showCount);

/// Returns sAssertionFailed and clears it (read and reset).
int dbgAssertionFailed(void);

/// Kept for compatibility: touches nothing and returns `length` rounded up to a multiple
/// of 8 for a positive length, else 0.
int PVOutputMemory(const void* anything, int length);
}

/// Convenience wrapper that passes the expression text and file:line of the call site
/// and keeps one budget per call site (shown 3 times, then silent until reset).
#define PV_ASSERT(cond)                                                                                      \
    do {                                                                                                     \
        static int pvAssertBudget_ = 3;                                                                      \
        dbgASSERT((cond) ? 1 : 0, #cond, __FILE__ ":" PV_ASSERT_STRINGIFY_(__LINE__), &pvAssertBudget_);     \
    } while (0)
#define PV_ASSERT_STRINGIFY_(x) PV_ASSERT_STRINGIFY2_(x)
#define PV_ASSERT_STRINGIFY2_(x) #x

// CDotAPI: which optimised code path the host's signal processing runs, the user's
// override of it from an "optimizations" menu, and how many blocks to interleave for
// the chosen path.
//
// A class with static members only. The processor's own path is fixed at 1 by the
// initialisation (the processor is not asked); the menu offers the paths of that path's
// row in the enable matrix, taken from the release or the debug table. The initialisation
// is lazy and unguarded, and nothing here is locked: use the class from the main thread.
// The host keeps the user's choice (a menu position) and restores it with SetSelection.
#pragma once

class CDotAPI {
public:
    /// Code paths. Their menu texts: 0 "SSE optimizations", 1 "SSE3 optimizations",
    /// 2 "SSE optimizations", 3 "AltiVec G4 optimizations", 4 "AltiVec G5 optimizations",
    /// 5 "optimizations off", 6 "debug mode".
    enum EID {
        eSSE = 0,
        eSSE3 = 1,
        eSSE2 = 2,
        eAltiVecG4 = 3,
        eAltiVecG5 = 4,
        eOff = 5,
        eDebug = 6,
    };

    /// Runs the initialisation unconditionally: copies the enable table of the current
    /// mode and sets the processor's path to 1. The override is left as it is.
    static void Init();
    /// Returns the processor's own path.
    static EID ProcessorID();
    /// Returns the effective path: the override when one is in force, else ProcessorID().
    static EID ID();
    /// Returns the number of paths the menu offers.
    static int MenuEntries();
    /// Returns the menu text of the path at menu position `i`, or null when the menu has
    /// no such position (also for negative positions).
    static const char* MenuText(int i);
    /// Returns the path at menu position `i`; 0 when there is no such position, and -1
    /// for -1 (the walk over the row stops before its first column).
    static EID MenuID(int i);
    /// Records `e` as the requested override; it is in force (and true is returned) only
    /// when the menu offers `e` and `e` differs from the processor's path.
    static bool Override(EID e);
    /// Overrides to the path at menu position `i` (a position the menu lacks requests
    /// path 0); a negative `i` is ignored.
    static void SetSelection(int i);
    /// Returns the menu position of the effective path; 0 when none matches.
    static int GetSelection();
    /// Returns the blocks to interleave for the effective path (1 when optimisations are
    /// off, else 4).
    static int Interleave();
    /// Returns the blocks to interleave for the processor's path; ignores the override.
    static int MaxInterleave();
    /// Selects the debug (true) or release enable table and copies it into the working
    /// matrix at once. Neither resets the override nor counts as the initialisation.
    static void SetDebugMode(bool debug);
    /// Returns the history flag kept for the host.
    static bool UpdateHistory();
    static void EnableHistoryUpdate();
    static void DisableHistoryUpdate();

    static bool s_fInit;
    static bool s_fDbgMode;
    static EID s_eID;
    static bool s_fOverride;
    static EID s_eOverride;
    static bool s_bEnableHistoryUpdate;
    /// Working enable matrix: row = processor path, column = offered path.
    static unsigned char s_afEnable[7][7];
    static const unsigned char s_afEnableRelease[7][7];
    static const unsigned char s_afEnableDebug[7][7];
};

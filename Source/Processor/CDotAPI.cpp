#include "CDotAPI.h"

#include <cstring>

namespace {

constexpr const char* cstrText[7] = {
    "SSE optimizations",
    "SSE3 optimizations",
    "SSE optimizations",
    "AltiVec G4 optimizations",
    "AltiVec G5 optimizations",
    "optimizations off",
    "debug mode",
};

// Blocks to interleave per path: four for every optimised path, one with optimisations off.
constexpr int kInterleave[7] = {4, 4, 4, 4, 4, 1, 4};
constexpr int kMaxInterleave[7] = {4, 4, 4, 4, 4, 1, 4};

void ensureInit()
{
    if (!CDotAPI::s_fInit)
        CDotAPI::Init();
}

inline bool validPath(int e)
{
    return e >= 0 && e < 7;
}

} // namespace

bool CDotAPI::s_fInit = false;
bool CDotAPI::s_fDbgMode = false;
CDotAPI::EID CDotAPI::s_eID = CDotAPI::eOff;
bool CDotAPI::s_fOverride = false;
CDotAPI::EID CDotAPI::s_eOverride = CDotAPI::eOff;
bool CDotAPI::s_bEnableHistoryUpdate = true;
unsigned char CDotAPI::s_afEnable[7][7] = {};

const unsigned char CDotAPI::s_afEnableRelease[7][7] = {
    {1, 0, 0, 0, 0, 1, 0}, // 0: 0, 5
    {0, 1, 0, 0, 0, 1, 0}, // 1: 1, 5
    {0, 0, 1, 0, 0, 1, 0}, // 2: 2, 5
    {0, 0, 0, 1, 0, 1, 0}, // 3: 3, 5
    {0, 0, 0, 0, 1, 1, 0}, // 4: 4, 5
    {0, 0, 0, 0, 0, 1, 0}, // 5: 5
    {0, 0, 0, 0, 0, 1, 1}, // 6: 5, 6
};

const unsigned char CDotAPI::s_afEnableDebug[7][7] = {
    {1, 0, 0, 0, 0, 1, 1}, // 0: 0, 5, 6
    {1, 1, 0, 0, 0, 1, 1}, // 1: 0, 1, 5, 6
    {0, 0, 1, 0, 0, 1, 1}, // 2: 2, 5, 6
    {0, 0, 0, 1, 1, 1, 1}, // 3: 3, 4, 5, 6
    {0, 0, 0, 1, 1, 1, 1}, // 4: 3, 4, 5, 6
    {0, 0, 0, 0, 1, 1, 1}, // 5: 4, 5, 6
    {0, 0, 0, 0, 1, 1, 1}, // 6: 4, 5, 6
};

void CDotAPI::Init()
{
    s_fInit = true;
    std::memcpy(s_afEnable, s_fDbgMode ? s_afEnableDebug : s_afEnableRelease, sizeof s_afEnable);
    s_eID = eSSE3;
}

CDotAPI::EID CDotAPI::ProcessorID()
{
    return ensureInit(), s_eID;
}

CDotAPI::EID CDotAPI::ID()
{
    return ensureInit(), s_fOverride ? s_eOverride : s_eID;
}

int CDotAPI::MenuEntries()
{
    ensureInit();
    int count = 0;
    for (int column = 0; column < 7; ++column)
        count += s_afEnable[s_eID][column];
    return count;
}

CDotAPI::EID CDotAPI::MenuID(int i)
{
    ensureInit();
    // A running count from -1 over the row's enable bytes; the walk stops as soon as the
    // count reaches the position, so -1 stops before the first column.
    int count = -1;
    int column = 0;
    while (column < 7 && count < i)
        count += s_afEnable[s_eID][column++];
    return count == i ? EID(column - 1) : eSSE;
}

const char* CDotAPI::MenuText(int i)
{
    ensureInit();
    if (i < 0)
        return nullptr;
    int count = -1;
    int column = 0;
    while (column < 7 && count < i)
        count += s_afEnable[s_eID][column++];
    return count == i ? cstrText[column - 1] : nullptr;
}

bool CDotAPI::Override(EID e)
{
    ensureInit();
    s_eOverride = e;
    s_fOverride = validPath(e) && s_afEnable[s_eID][e] && e != s_eID;
    return s_fOverride;
}

void CDotAPI::SetSelection(int i)
{
    ensureInit();
    if (i >= 0)
        Override(MenuID(i));
}

int CDotAPI::GetSelection()
{
    ensureInit();
    const EID effective = s_fOverride ? s_eOverride : s_eID;
    for (int position = 0; position < 7; ++position)
        if (MenuID(position) == effective)
            return position;
    return 0;
}

int CDotAPI::Interleave()
{
    const EID e = ID();
    return validPath(e) ? kInterleave[e] : 1;
}

int CDotAPI::MaxInterleave()
{
    ensureInit();
    return validPath(s_eID) ? kMaxInterleave[s_eID] : 1;
}

void CDotAPI::SetDebugMode(bool debug)
{
    s_fDbgMode = debug;
    std::memcpy(s_afEnable, debug ? s_afEnableDebug : s_afEnableRelease, sizeof s_afEnable);
}

bool CDotAPI::UpdateHistory()
{
    return s_bEnableHistoryUpdate;
}
void CDotAPI::EnableHistoryUpdate()
{
    s_bEnableHistoryUpdate = true;
}
void CDotAPI::DisableHistoryUpdate()
{
    s_bEnableHistoryUpdate = false;
}

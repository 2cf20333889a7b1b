// CInformer: what the x86 processor the host runs on offers - vendor, type, model,
// stepping, generation, feature flags, a denormals-are-zero flag, cache and TLB
// descriptions, a cycle-counter reading and a suggested block size.
//
// A class with static members only; nothing is instantiated. Initialize() gathers the
// facts once, lazily, through the CPUID provider (PvSystemCpuidProvider() unless
// SetProvider installed another); every query runs it first when needed. The lazy
// initialisation is not locked: call the queries from the main thread first. The texts
// of Description() and AMDAssociativity() live in static buffers that the next call
// overwrites.
//
// The gathering keeps the readings this informer has always made, odd as some are:
// the model of families 4, 5 and 6 is chosen by comparing leaf 1's ecx (the second
// feature word) with 1 and 2 as if it were the vendor, and the DAZ flag and the
// optimisation code are judged on the registers of the last extended-leaf query. Nothing
// fills the cache configuration or the brand text, so NumCaches() is 0 and Brand() empty
// unless a caller sets those members; the cache queries work on whatever they hold.
#pragma once

#include "PvCpuid.h"

#include <array>
#include <cstdint>

class CInformer {
public:
    /// Feature numbers: 0-31 are the bits of leaf 1's edx, 32-63 the bits of leaf
    /// 0x80000001's edx, 64 the DAZ flag. Values without a name are reserved bits.
    enum EFeature {
        eFPU = 0,
        eVME = 1,
        eDE = 2,
        ePSE = 3,
        eTSC = 4,
        eMSR = 5,
        ePAE = 6,
        eMCE = 7,
        eCX8 = 8,
        eAPIC = 9,
        eSEP = 11,
        eMTRR = 12,
        ePGE = 13,
        eMCA = 14,
        eCMOV = 15,
        ePAT = 16,
        ePSE36 = 17,
        ePSN = 18,
        eCLFSH = 19,
        eDS = 21,
        eACPI = 22,
        eMMX = 23,
        eFXSR = 24,
        eSSE = 25,
        eSSE2 = 26,
        eSS = 27,
        eTM = 29,
        eAMDMMX = 54,
        eAMD3DNowExt = 62,
        eAMD3DNow = 63,
        eDAZ = 64,
        eUnknownFeature = 65,
    };

    /// AMD cache and TLB configuration, one 32-bit word per field and slot. Slots:
    /// 0 data TLB 2M/4M, 1 instruction TLB 2M/4M, 2 data TLB 4k, 3 instruction TLB 4k,
    /// 4 L1 data cache, 5 L1 instruction cache, 6 L2 data TLB 2M/4M, 7 L2 instruction
    /// TLB 2M/4M, 8 L2 data TLB 4k, 9 L2 instruction TLB 4k, 10 L2 unified cache.
    struct SAMDCacheCfg {
        int32_t lAssociativity[11]; ///< ways for slots 0-5, the 4-bit code for 6-10
        int32_t lSize[11]; ///< entries for TLBs, kilobytes for caches
        int32_t lLineSize[11]; ///< line size in bytes (caches only)
    };

    /// One row of the Intel cache descriptor table.
    struct SCacheInfo {
        int eType; ///< 0 unknown, 1 instruction TLB, 2 data TLB, 3 instruction cache,
                   ///< 4 data cache, 5 sectored data cache, 6 unified cache,
                   ///< 7 sectored unified cache, 8 instruction trace cache, 9 no cache
        int iWays; ///< 255 fully associative, 0 none
        int32_t lUnitSize; ///< line size, page size for TLBs, 0 for trace caches
        int32_t lTotalSize; ///< bytes, TLB entries or trace-cache micro-operations
        const char* cstrText;
    };

    /// Gathers the facts (once; later calls return at once). See the class comment.
    static void Initialize();

    /// Vendor: 0 unknown, 1 Intel, 2 AMD.
    static int Vendor();
    /// Processor type 1 to 4 (OEM, OverDrive, Dual, unknown); 0 before a leaf 1 query.
    static int Type();
    /// Index into the model name table (0 unknown).
    static int Model();
    static int Stepping();
    /// Bits 8-11 of leaf 0x80000001's eax.
    static int Generation();
    /// Optimisation code: 0 none, 1 SSE (Intel), 2 SSE2 (Intel), 3 SSE (AMD).
    static int DotID();

    /// Returns the DAZ flag for eDAZ, the bit of the features for 0-31 and bit
    /// (value mod 32) of the extended features for every other value.
    static bool Feature(EFeature feature);
    /// Returns the text of a feature; only 0 to 65 are valid (no bounds check).
    static const char* FeatureDescription(EFeature feature);

    /// "type, vendor model, stepping N", with ", generation N" for AMD; static buffer.
    static const char* Description();
    /// Returns s_cstrBrand.
    static const char* Brand();

    /// Returns s_iCfgSize.
    static int NumCaches();
    /// Cache type code of entry `i` (Intel: configured descriptors; AMD: slots 0-10);
    /// 0 out of range.
    static int CacheType(int i);
    /// Ways of entry `i`: 255 fully associative; 0 out of range.
    static int Associativity(int i);
    /// Line size, page size or 0; 0 out of range.
    static int32_t UnitSize(int i);
    /// Bytes, entries or micro-operations; 0 out of range.
    static int32_t TotalSize(int i);
    /// Text of entry `i`: "(unknown cache type)" out of range for Intel, null for AMD.
    static const char* Description(int i);
    /// "off", "direct mapped", "fully associative" or "N-way set associative" (the
    /// last in a static buffer).
    static const char* AMDAssociativity(int ways);

    /// Difference of two time-stamp counter readings taken back to back (the argument is
    /// ignored); 0 without the RDTSC feature.
    static int64_t ClockSpeed(int unused = 0);
    /// Does nothing.
    static void Sleep(int milliseconds);
    /// Returns 512.
    static int SuggestedBlocksize();
    /// Returns 0. (The measurement it was meant for was never written.)
    static int CachePerformance(int n);

    /// Makes the informer read `provider` (null: the processor's own) and forgets every
    /// gathered fact, so the next query gathers them again. The provider is not owned
    /// and must outlive its use. For tests and tools; not thread-safe.
    static void SetProvider(const PvCpuidProvider* provider);

    static bool s_fInitialized;
    static int s_eVendor;
    static int s_eType;
    static int s_eModel;
    static int s_iStepping;
    static int s_iGeneration;
    static uint32_t s_lFeatures;
    static uint32_t s_lExtFeatures;
    static bool s_fDAZMode;
    static int s_eDotID;
    static int s_iCfgSize;
    static signed char s_aCacheCfg[256];
    static SAMDCacheCfg s_alCacheCfg;
    static char s_cstrBrand[64];
    /// The Intel descriptor table, rows 0x00 to 0x8F indexed by the descriptor byte.
    static const std::array<SCacheInfo, 0x90> s_asCacheInfo;
};

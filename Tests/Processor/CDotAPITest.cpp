// CDotAPI: menus, overrides and interleave counts in release and debug mode.
#include <Pavo/PavoCore.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class DotAPI : public testing::Test {
protected:
    void SetUp() override
    {
        CDotAPI::s_fInit = false;
        CDotAPI::s_fDbgMode = false;
        CDotAPI::s_fOverride = false;
        CDotAPI::s_eOverride = CDotAPI::eOff;
    }
    void TearDown() override { SetUp(); }

    static std::vector<std::string> menu()
    {
        std::vector<std::string> texts;
        for (int i = 0; i < CDotAPI::MenuEntries(); ++i)
            texts.push_back(CDotAPI::MenuText(i) ? CDotAPI::MenuText(i) : "(null)");
        return texts;
    }
};

} // namespace

TEST_F(DotAPI, ReleaseMenuAfterLazyInitialisation)
{
    EXPECT_EQ(CDotAPI::ProcessorID(), CDotAPI::eSSE3);
    EXPECT_TRUE(CDotAPI::s_fInit);
    EXPECT_EQ(menu(), (std::vector<std::string> {"SSE3 optimizations", "optimizations off"}));
    EXPECT_EQ(CDotAPI::MenuID(0), 1);
    EXPECT_EQ(CDotAPI::MenuID(1), 5);
    EXPECT_EQ(CDotAPI::GetSelection(), 0);
    EXPECT_EQ(CDotAPI::Interleave(), 4);
    EXPECT_EQ(CDotAPI::MenuText(7), nullptr);
    EXPECT_EQ(CDotAPI::MenuID(7), 0);
    EXPECT_EQ(CDotAPI::MenuID(2), 0);
    EXPECT_EQ(int(CDotAPI::MenuID(-1)), -1);
    EXPECT_EQ(CDotAPI::MenuText(-1), nullptr);
}

TEST_F(DotAPI, SelectionsAndOverrides)
{
    CDotAPI::SetSelection(1); // optimisations off
    EXPECT_TRUE(CDotAPI::s_fOverride);
    EXPECT_EQ(CDotAPI::ID(), CDotAPI::eOff);
    EXPECT_EQ(CDotAPI::GetSelection(), 1);
    EXPECT_EQ(CDotAPI::Interleave(), 1);
    EXPECT_EQ(CDotAPI::MaxInterleave(), 4);

    CDotAPI::SetSelection(0); // the processor's own path: no override
    EXPECT_FALSE(CDotAPI::s_fOverride);
    EXPECT_EQ(CDotAPI::ID(), CDotAPI::eSSE3);

    CDotAPI::SetSelection(1);
    CDotAPI::SetSelection(-3); // ignored
    EXPECT_EQ(CDotAPI::ID(), CDotAPI::eOff);

    CDotAPI::SetSelection(5); // no such position: path 0, which row 1 does not offer
    EXPECT_FALSE(CDotAPI::s_fOverride);
    EXPECT_EQ(CDotAPI::s_eOverride, CDotAPI::eSSE);
    EXPECT_EQ(CDotAPI::ID(), CDotAPI::eSSE3);

    EXPECT_FALSE(CDotAPI::Override(CDotAPI::eDebug)); // not offered in release mode
    EXPECT_TRUE(CDotAPI::Override(CDotAPI::eOff));
    EXPECT_FALSE(CDotAPI::Override(CDotAPI::eSSE3));
}

TEST_F(DotAPI, DebugModeOffersMorePaths)
{
    CDotAPI::SetDebugMode(true);
    EXPECT_FALSE(CDotAPI::s_fInit); // copying the table is not the initialisation
    // The lazy initialisation copies the debug table too, since the mode is set.
    EXPECT_EQ(menu(),
        (std::vector<std::string> {
            "SSE optimizations", "SSE3 optimizations", "optimizations off", "debug mode"}));
    CDotAPI::SetSelection(0); // path 0 is offered now and differs from path 1
    EXPECT_EQ(CDotAPI::ID(), CDotAPI::eSSE);
    EXPECT_EQ(CDotAPI::GetSelection(), 0);
    CDotAPI::SetSelection(3);
    EXPECT_EQ(CDotAPI::ID(), CDotAPI::eDebug);
    EXPECT_EQ(CDotAPI::Interleave(), 4);
    EXPECT_EQ(CDotAPI::GetSelection(), 3);

    // Back to release: the override stays recorded but debug mode is no longer offered;
    // ID() still reports the override until it is set again.
    CDotAPI::SetDebugMode(false);
    EXPECT_EQ(CDotAPI::MenuEntries(), 2);
    EXPECT_EQ(CDotAPI::ID(), CDotAPI::eDebug);
    EXPECT_EQ(CDotAPI::GetSelection(), 0);
}

TEST_F(DotAPI, EnableTableRows)
{
    const int release[7] = {2, 2, 2, 2, 2, 1, 2};
    const int debug[7] = {3, 4, 3, 4, 4, 3, 3};
    for (int row = 0; row < 7; ++row) {
        CDotAPI::Init();
        CDotAPI::s_eID = CDotAPI::EID(row);
        EXPECT_EQ(CDotAPI::MenuEntries(), release[row]) << row;
        // Every release row offers its own path (when optimised) and "optimizations off".
        EXPECT_EQ(int(CDotAPI::MenuID(release[row] - 1)), row == 6 ? 6 : 5) << row;
        EXPECT_EQ(int(CDotAPI::MenuID(0)), row == 6 ? 5 : row) << row;
        CDotAPI::SetDebugMode(true);
        EXPECT_EQ(CDotAPI::MenuEntries(), debug[row]) << row;
        CDotAPI::SetDebugMode(false);
        EXPECT_EQ(CDotAPI::MaxInterleave(), row == 5 ? 1 : 4);
    }
    CDotAPI::Init();
    CDotAPI::s_eID = CDotAPI::eAltiVecG4;
    CDotAPI::SetDebugMode(true);
    EXPECT_EQ(CDotAPI::MenuText(1), std::string("AltiVec G5 optimizations"));
    CDotAPI::s_eID = CDotAPI::eDebug;
    CDotAPI::SetDebugMode(false);
    EXPECT_EQ(CDotAPI::MenuID(1), CDotAPI::eDebug);
}

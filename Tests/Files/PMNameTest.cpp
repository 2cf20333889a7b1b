#include <Pavo/PavoCore.h>

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include "TestSupport.h"

#include <list>
#include <string>
#include <vector>

namespace {

std::vector<std::string> elements(const char* text, char separator)
{
    PMName name(text);
    std::list<PMName> out;
    name.GetElements(separator, out);
    std::vector<std::string> result;
    for (const PMName& element : out)
        result.push_back(element.Get());
    EXPECT_STREQ(name.Get(), text) << "splitting leaves the name as it was";
    return result;
}

class PMNameFileTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_dir.isValid()); }

    FSSpec make(const QByteArray& bytes)
    {
        m_path = m_dir.path() + QStringLiteral("/name.bin");
        EXPECT_TRUE(PavoTest::writeFile(m_path, bytes));
        CFileRef ref(m_path, kPathStylePOSIX, 0);
        FSSpec fsSpec {};
        EXPECT_TRUE(ref.GetFSSpec(&fsSpec));
        return fsSpec;
    }

    QByteArray contents() const { return PavoTest::readFile(m_path); }

    QTemporaryDir m_dir;
    QString m_path;
};

} // namespace

TEST(PMName, SetCatAndCopy)
{
    PMName name;
    EXPECT_EQ(name.Get(), nullptr);
    name.Cat(nullptr);
    name.Cat("");
    EXPECT_EQ(name.Get(), nullptr);
    name.Cat("x");
    EXPECT_STREQ(name.Get(), "x");
    name.Cat("yz");
    EXPECT_STREQ(name.Get(), "xyz");
    name.Cat("");
    EXPECT_STREQ(name.Get(), "xyz");
    PMName copy(name);
    name.Set("other");
    EXPECT_STREQ(copy.Get(), "xyz");
    copy = name;
    EXPECT_STREQ(copy.Get(), "other");
    name.Set(nullptr);
    EXPECT_EQ(name.Get(), nullptr);
    char* raw = name.Allocate(3);
    raw[0] = 'a';
    raw[1] = 'b';
    raw[2] = 'c';
    raw[3] = 0;
    EXPECT_STREQ(name.Get(), "abc");
    PMNameException exception(kNameOutOfMemory);
    EXPECT_STREQ(exception.what(), std::exception().what());
}

TEST(PMName, GetElements)
{
    using V = std::vector<std::string>;
    EXPECT_EQ(elements("/a/b", '/'), (V {"a", "b"}));
    EXPECT_EQ(elements("a//b/", '/'), (V {"a", "", "b"}));
    EXPECT_EQ(elements(":a::b:", ':'), (V {"a", "", "b"}));
    EXPECT_EQ(elements("plain", ':'), (V {"plain"}));
    EXPECT_EQ(elements("", ':'), (V {}));
    EXPECT_EQ(elements("::", ':'), (V {""}));
    EXPECT_EQ(elements("a:b", 0), (V {"a:b"}));
    std::list<PMName> out;
    PMName().GetElements(':', out);
    EXPECT_TRUE(out.empty());
}

TEST_F(PMNameFileTest, BothFormsRoundTripLittleEndian)
{
    FSSpec fsSpec = make(QByteArray());
    {
        CFileIO io(&fsSpec, 1);
        EXPECT_EQ(PMName("abc").ToFile(io, 1), noErr);
        EXPECT_EQ(PMName("Group:Sub").ToFile(io, 0), noErr);
        EXPECT_EQ(PMName().ToFile(io, 1), noErr);
        EXPECT_EQ(PMName().ToFile(io, 0), noErr);
    }
    EXPECT_EQ(contents(),
        QByteArray("\x03\x00"
                   "abc"
                   "\x09\x00\x00\x00"
                   "Group:Sub"
                   "\x00\x00"
                   "\x00\x00\x00\x00",
            24));
    CFileIO io(&fsSpec, 0);
    PMName name;
    ASSERT_EQ(name.FromFile(io, 1), noErr);
    EXPECT_STREQ(name.Get(), "abc");
    ASSERT_EQ(name.FromFile(io, 0), noErr);
    EXPECT_STREQ(name.Get(), "Group:Sub");
    ASSERT_EQ(name.FromFile(io, 1), noErr);
    EXPECT_STREQ(name.Get(), "Group:Sub") << "a zero length keeps the name";
    ASSERT_EQ(name.FromFile(io, 0), noErr);
    EXPECT_STREQ(name.Get(), "Group:Sub");
    EXPECT_EQ(name.FromFile(io, 1), eofErr);
}

TEST_F(PMNameFileTest, ImpossibleLengthsThrowOrFail)
{
    for (const QByteArray& bytes : {QByteArray("\xff\xff", 2), QByteArray("\x00\x80", 2)}) {
        FSSpec fsSpec = make(bytes);
        CFileIO io(&fsSpec, 0);
        PMName name;
        EXPECT_THROW(name.FromFile(io, 1), PMNameException);
    }
    FSSpec negative = make(QByteArray("\xfe\xff\xff\xff", 4));
    CFileIO io(&negative, 0);
    PMName name("kept");
    EXPECT_THROW(name.FromFile(io, 0), PMNameException);
    EXPECT_STREQ(name.Get(), "kept");

    // A length the file cannot deliver: an error, and no huge allocation.
    FSSpec huge = make(QByteArray("\xff\xff\xff\x7f"
                                  "abc",
        7));
    CFileIO hugeIO(&huge, 0);
    EXPECT_EQ(name.FromFile(hugeIO, 0), eofErr);
    FSSpec truncated = make(QByteArray("\x05\x00"
                                       "ab",
        4));
    CFileIO truncatedIO(&truncated, 0);
    EXPECT_EQ(name.FromFile(truncatedIO, 1), eofErr);
    FSSpec tooShort = make(QByteArray("\x05", 1));
    CFileIO tooShortIO(&tooShort, 0);
    EXPECT_EQ(name.FromFile(tooShortIO, 0), eofErr);
}

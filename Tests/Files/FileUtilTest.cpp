#include <Pavo/PavoCore.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <sys/xattr.h>
#include <vector>

namespace {

std::string nameOf(const FSSpec& fsSpec)
{
    return std::string(reinterpret_cast<const char*>(fsSpec.name + 1), fsSpec.name[0]);
}

FSSpec specNamed(const char* name, int16_t vRefNum = 0, int32_t parID = 0)
{
    FSSpec fsSpec;
    std::memset(&fsSpec, 0, sizeof fsSpec);
    fsSpec.vRefNum = vRefNum;
    fsSpec.parID = parID;
    fsSpec.name[0] = uint8_t(std::strlen(name));
    std::memcpy(fsSpec.name + 1, name, fsSpec.name[0]);
    return fsSpec;
}

// Runs a name operation on a copy in a buffer of the given size and returns the result.
template <typename Op> std::string onCopy(const char* name, Op op, size_t size = 256)
{
    std::vector<char> buffer(size, 0);
    std::strncpy(buffer.data(), name, size - 1);
    op(buffer.data());
    return std::string(buffer.data());
}

bool touch(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write("x") == 1;
}

// A folder in the temporary directory and the FSSpec of its contents.
class Folder {
public:
    Folder()
    {
        m_path = QFileInfo(m_dir.path()).canonicalFilePath();
        CFileRef ref(m_path, QString());
        ref.GetFSSpec(&m_spec);
        m_ok = CFileUtilCheckDir(&m_spec) == noErr;
    }
    bool ok() const { return m_ok; }
    QString path(const char* name) const { return m_path + QLatin1Char('/') + QString::fromUtf8(name); }
    FSSpec fsSpec(const char* name) const { return specNamed(name, m_spec.vRefNum, m_spec.parID); }
    bool touch(const char* name) const { return ::touch(path(name)); }

private:
    QTemporaryDir m_dir;
    QString m_path;
    FSSpec m_spec {};
    bool m_ok = false;
};

bool setFinderInfo(const QString& path, const char type[4], uint16_t flags)
{
    uint8_t info[32] = {};
    std::memcpy(info, type, 4);
    info[8] = uint8_t(flags >> 8);
    info[9] = uint8_t(flags);
    return ::setxattr(QFile::encodeName(path).constData(), kPvFinderInfoAttribute, info, sizeof info, 0) == 0;
}

} // namespace

TEST(FileUtilTable, LookupsAndStereoExtensions)
{
    EXPECT_EQ(CFileUtilAudioFileType(-1), nullptr);
    EXPECT_EQ(CFileUtilAudioFileType(kAudioFileTypeRows + 1), nullptr);
    EXPECT_EQ(CFileUtilGetPointAudioFileType(int32_t(PvFourCC("WAVE"))), &audioFileTypes[7]);
    EXPECT_EQ(CFileUtilGetPointAudioFileType(int32_t(PvFourCC("OggS"))), &audioFileTypes[kAudioFileTypeRows]);

    char out[8] = "junk";
    EXPECT_EQ(CFileUtilGetStereoExtension(out, 8), out);
    EXPECT_STREQ(out, ".L.aif");
    EXPECT_STREQ(CFileUtilGetStereoExtension(nullptr, 17), ".war");
    EXPECT_STREQ(CFileUtilGetStereoExtension(nullptr, 3), "(R)");
    EXPECT_EQ(CFileUtilGetStereoExtension(out, -1), nullptr);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(CFileUtilGetStereoExtension(out, 1000), nullptr);
}

TEST(FileUtilStereo, SuffixIndicesPositionsAndCuts)
{
    EXPECT_EQ(CFileUtilHasStereoExtension("Kick.R.wav"), 15);
    EXPECT_EQ(CFileUtilHasStereoExtension("KICK.r.WAV"), 15);
    EXPECT_EQ(CFileUtilHasStereoExtension("Kick.war"), 17);
    EXPECT_EQ(CFileUtilHasStereoExtension("Kick(L)"), 2);
    EXPECT_EQ(CFileUtilHasStereoExtension("Drums.L.aif"), 8); // row 4, not row 2
    EXPECT_EQ(CFileUtilHasStereoExtension("Drums.L"), 4);
    EXPECT_EQ(CFileUtilHasStereoExtension("Pad-R"), 7);
    EXPECT_EQ(CFileUtilHasStereoExtension("Kick.wav"), -1);
    EXPECT_EQ(CFileUtilHasStereoExtension("Kick.aiff"), -1); // row 6 has no suffixes
    EXPECT_EQ(CFileUtilHasStereoExtension(".L"), -1); // shorter than 3
    EXPECT_EQ(CFileUtilGetPointExt("Kick.R.wav"), 4);
    EXPECT_EQ(CFileUtilGetPointExt("Kick"), -1);

    EXPECT_EQ(onCopy("Kick.wav", [](char* n) { EXPECT_EQ(CFileUtilHasStereoExtension(n, 4), -2); }), "Kick");
    EXPECT_EQ(onCopy("Kick.aiff", [](char* n) { EXPECT_EQ(CFileUtilHasStereoExtension(n, 4), -2); }), "Kick");
    EXPECT_EQ(
        onCopy("Kick.R.wav", [](char* n) { EXPECT_EQ(CFileUtilHasStereoExtension(n, 1), 15); }), "Kick");
    EXPECT_EQ(onCopy("Kick.R.wav", [](char* n) { EXPECT_EQ(CFileUtilHasStereoExtension(n, 3), 4); }), "Kick");
    EXPECT_EQ(
        onCopy("Kick.R.wav", [](char* n) { EXPECT_EQ(CFileUtilHasStereoExtension(n, 2), 4); }), "Kick.R.wav");
    EXPECT_EQ(
        onCopy("Kick.txt", [](char* n) { EXPECT_EQ(CFileUtilHasStereoExtension(n, 7), -1); }), "Kick.txt");

    // Only the first 255 bytes are examined.
    const std::string longName = std::string(300, 'a') + ".L.wav";
    EXPECT_EQ(CFileUtilHasStereoExtension(longName.c_str()), -1);
    EXPECT_EQ(CFileUtilHasStereoExtension((std::string(249, 'a') + ".L.wav").c_str()), 14);
}

TEST(FileUtilStereo, PartnersFromTheSameRow)
{
    const FSSpec cases[][2] = {
        {specNamed("Pad.L.sd2", -100, 77), specNamed("Pad.R.sd2", -100, 77)},
        {specNamed("Pad-R"), specNamed("Pad-L")},
        {specNamed("Pad(L)"), specNamed("Pad(R)")},
        {specNamed("Kick.wal"), specNamed("Kick.war")},
        {specNamed("Kick.r.m4a"), specNamed("Kick.L.m4a")},
    };
    for (const auto& c : cases) {
        FSSpec fsSpec = c[0];
        FSSpec partner;
        ASSERT_TRUE(CFileUtilGetStereoPartnerFSSpec(&fsSpec, &partner)) << nameOf(c[0]);
        EXPECT_EQ(nameOf(partner), nameOf(c[1]));
        EXPECT_EQ(partner.vRefNum, c[0].vRefNum);
        EXPECT_EQ(int32_t(partner.parID), int32_t(c[0].parID));
    }
    FSSpec plain = specNamed("Pad.aif");
    FSSpec untouched = specNamed("keep");
    EXPECT_FALSE(CFileUtilGetStereoPartnerFSSpec(&plain, &untouched));
    EXPECT_EQ(nameOf(untouched), "keep");
    EXPECT_FALSE(CFileUtilGetStereoPartnerFSSpec(nullptr, &untouched));
}

TEST(FileUtilExtensions, CuttingKnownAndPlainExtensions)
{
    auto cutKnown = [](const char* name, bool expected) {
        return onCopy(
            name, [&](char* n) { EXPECT_EQ(CFileUtilCutKnownAudioFileExtension(n), expected) << name; });
    };
    EXPECT_EQ(cutKnown("Drums.L.aif", true), "Drums");
    EXPECT_EQ(cutKnown("Bass(L)", false), "Bass");
    EXPECT_EQ(cutKnown("Bass(L).mp3", true), "Bass");
    EXPECT_EQ(cutKnown("Loop.AIF.wav", true), "Loop");
    EXPECT_EQ(cutKnown("Loop.wal", true), "Loop");
    EXPECT_EQ(cutKnown(".aif", true), "");
    EXPECT_EQ(cutKnown("Readme.txt", false), "Readme.txt");
    EXPECT_EQ(cutKnown("", false), "");
    EXPECT_FALSE(CFileUtilCutKnownAudioFileExtension(nullptr));

    auto cut = [](const char* name, const char* ext, bool expected) {
        return onCopy(name, [&](char* n) { EXPECT_EQ(CFileUtilCutExtension(n, ext), expected) << name; });
    };
    EXPECT_EQ(cut("Song.project", nullptr, false), "Song.project");
    EXPECT_EQ(cut("Song.mp3", nullptr, true), "Song");
    EXPECT_EQ(cut("Song.abcdef", nullptr, true), "Song");
    EXPECT_EQ(cut("Take.12", nullptr, false), "Take.12");
    EXPECT_EQ(cut("Take.", nullptr, false), "Take.");
    EXPECT_EQ(cut("Take.1a", nullptr, true), "Take");
    EXPECT_EQ(cut("Preset.AUpreset", nullptr, true), "Preset");
    EXPECT_EQ(cut("Plain", nullptr, false), "Plain");
    EXPECT_EQ(cut("...", nullptr, false), "...");
    EXPECT_EQ(cut("a.WAV", ".wav", true), "a");
    EXPECT_EQ(cut(".wav", ".wav", false), ".wav"); // not longer than the extension
    EXPECT_EQ(cut("a.wav", ".aif", false), "a.wav");
    EXPECT_FALSE(CFileUtilCutExtension(nullptr, nullptr));
}

TEST(FileUtilExtensions, SetNewExtensionStaysInsideItsBuffer)
{
    // A 31-character name with ".aif" in 32 bytes keeps 27 characters of the name.
    struct {
        char name[32];
        char canary[8];
    } guarded;
    std::memset(guarded.canary, 0x5A, sizeof guarded.canary);
    std::memcpy(guarded.name, "abcdefghijklmnopqrstuvwxyz01234", 32);
    char* at = CFileUtilSetNewExtension(guarded.name, ".aif", 32);
    EXPECT_EQ(at, guarded.name + 27);
    EXPECT_STREQ(guarded.name, "abcdefghijklmnopqrstuvwxyz0.aif");
    for (char c : guarded.canary)
        EXPECT_EQ(c, 0x5A);

    EXPECT_EQ(onCopy("Short", [](char* n) { CFileUtilSetNewExtension(n, ".wav", 32); }), "Short.wav");
    EXPECT_EQ(onCopy("Short", [](char* n) { CFileUtilSetNewExtension(n, nullptr, 4); }), "Sho");
    // The extension never shrinks: when it cannot fit, nothing is written.
    EXPECT_EQ(onCopy("Short", [](char* n) { EXPECT_EQ(CFileUtilSetNewExtension(n, ".wav", 4), nullptr); }),
        "Short");
    EXPECT_EQ(onCopy("Short", [](char* n) { EXPECT_EQ(CFileUtilSetNewExtension(n, ".wav", 0), nullptr); }),
        "Short");
    EXPECT_EQ(onCopy("Short", [](char* n) { EXPECT_EQ(CFileUtilSetNewExtension(n, ".wav", -9), nullptr); }),
        "Short");
    EXPECT_EQ(CFileUtilSetNewExtension(nullptr, ".wav", 32), nullptr);

    // A cut never falls inside a UTF-8 character: "é" is two bytes, "€" three.
    for (int size = 6; size <= 14; ++size) {
        const std::string result = onCopy(
            "a\xC3\xA9\xE2\x82\xAC\xC3\xA9xyz", [&](char* n) { CFileUtilSetNewExtension(n, ".w", size); });
        EXPECT_LE(result.size(), size_t(size - 1));
        EXPECT_TRUE(utf8_check(result.c_str())) << size;
        EXPECT_EQ(result.substr(result.size() - 2), ".w");
    }
    // Bytes that are not UTF-8 are cut where the size says.
    EXPECT_EQ(
        onCopy("ab\xE9\xE9\xE9\xE9", [](char* n) { CFileUtilSetNewExtension(n, ".w", 6); }), "ab\xE9.w");
}

TEST(FileUtilExtensions, SetExtensionReplacesWhatWasThere)
{
    auto set = [](const char* name, const char* ext) {
        return onCopy(name, [&](char* n) { CFileUtilSetExtension(n, ext, 32); });
    };
    EXPECT_EQ(set("Take.L.aif", ".wav"), "Take.wav");
    EXPECT_EQ(set("Bass(L)", ".aif"), "Bass.aif");
    EXPECT_EQ(set("Song.mp3", ".caf"), "Song.caf");
    EXPECT_EQ(set("Take.2", ".wav"), "Take.2.wav");
    EXPECT_EQ(set("Song.project", ".aif"), "Song.project.aif");
    EXPECT_EQ(set("Notes.txt", ".aif"), "Notes.aif");
}

TEST(FileUtilFSSpec, NameFormsStayWithin31Characters)
{
    FSSpec fsSpec = specNamed("Loop.AIF");
    CFileUtilEnsureFSSpecExtension(&fsSpec, ".aif");
    EXPECT_EQ(nameOf(fsSpec), "Loop.AIF");
    fsSpec = specNamed("Loop.L.wav");
    CFileUtilEnsureFSSpecExtension(&fsSpec, ".aif");
    EXPECT_EQ(nameOf(fsSpec), "Loop.aif");

    // A stored name longer than 31 bytes is clamped first.
    fsSpec = specNamed("0123456789012345678901234567890123456789.aif");
    CFileUtilEnsureFSSpecExtension(&fsSpec, ".wav");
    EXPECT_EQ(nameOf(fsSpec), "012345678901234567890123456.wav");
    fsSpec = specNamed("0123456789012345678901234567890.sd2");
    CFileUtilSetNewFSSpecExtension(&fsSpec, ".aiff");
    EXPECT_EQ(nameOf(fsSpec), "01234567890123456789012345.aiff");
    fsSpec = specNamed("Vox.R.sd2");
    CFileUtilSetFSSpecExtension(&fsSpec, ".wav");
    EXPECT_EQ(nameOf(fsSpec), "Vox.wav");
    fsSpec = specNamed("Mix.final");
    EXPECT_TRUE(CFileUtilCutFSSpecExtension(&fsSpec));
    EXPECT_EQ(nameOf(fsSpec), "Mix");
    fsSpec = specNamed("Take.2");
    EXPECT_FALSE(CFileUtilCutFSSpecExtension(&fsSpec));
    EXPECT_EQ(nameOf(fsSpec), "Take.2");

    // Mac Roman bytes are one character each and are kept as they are.
    fsSpec = specNamed("Caf\x8E.aif");
    CFileUtilSetFSSpecExtension(&fsSpec, ".wav");
    EXPECT_EQ(nameOf(fsSpec), "Caf\x8E.wav");

    CFileUtilEnsureFSSpecExtension(nullptr, ".aif");
    CFileUtilSetFSSpecExtension(nullptr, ".aif");
    CFileUtilSetNewFSSpecExtension(nullptr, ".aif");
    EXPECT_FALSE(CFileUtilCutFSSpecExtension(nullptr));
}

TEST(FileUtilFiles, FileTypeFromFinderInformationThenExtension)
{
    Folder folder;
    ASSERT_TRUE(folder.ok());
    for (const char* name : {"Loop.AIF", "Loop.aifc", "Readme", "Tagged", "Sidecar", "Tagged.mp3"})
        ASSERT_TRUE(folder.touch(name));

    FSSpec fsSpec = folder.fsSpec("Loop.AIF");
    EXPECT_EQ(CFileUtilFileType(&fsSpec), PvFourCC("AIFF"));
    fsSpec = folder.fsSpec("Loop.aifc");
    EXPECT_EQ(CFileUtilFileType(&fsSpec), PvFourCC("AIFF"));
    fsSpec = folder.fsSpec("Readme");
    EXPECT_EQ(CFileUtilFileType(&fsSpec), 0u);
    fsSpec = folder.fsSpec("Missing.MID");
    EXPECT_EQ(CFileUtilFileType(&fsSpec), PvFourCC("Midi"));
    fsSpec = specNamed("clip.mov");
    EXPECT_EQ(CFileUtilFileType(&fsSpec), PvFourCC("MooV"));
    EXPECT_EQ(CFileUtilFileType(nullptr), 0u);
    EXPECT_EQ(CFileUtilFileTypeFromName("x.ubs"), PvFourCC(".ubs"));
    EXPECT_EQ(CFileUtilFileTypeFromName("x.rx2"), PvFourCC("REX2"));
    EXPECT_EQ(CFileUtilFileTypeFromName("x.m4v"), PvFourCC("mpg4"));
    EXPECT_EQ(CFileUtilFileTypeFromName("aif"), 0u);

    // A type in the Finder information wins over the extension.
    if (!setFinderInfo(folder.path("Tagged"), "WAVE", 0)
        || !setFinderInfo(folder.path("Tagged.mp3"), "AIFF", 0))
        GTEST_SKIP() << "no user extended attributes here: " << std::strerror(errno);
    fsSpec = folder.fsSpec("Tagged");
    EXPECT_EQ(CFileUtilFileType(&fsSpec), PvFourCC("WAVE"));
    fsSpec = folder.fsSpec("Tagged.mp3");
    EXPECT_EQ(CFileUtilFileType(&fsSpec), PvFourCC("AIFF"));
    // The same from an AppleDouble sidecar ("._Sidecar", Finder information in entry 9).
    QByteArray sidecar(82, '\0');
    const uchar header[] = {0, 5, 22, 7, 0, 2, 0, 0};
    std::memcpy(sidecar.data(), header, sizeof header);
    sidecar[25] = 1; // one entry
    sidecar[29] = 9; // ID 9
    sidecar[33] = 50; // offset 50
    sidecar[37] = 32; // length 32
    std::memcpy(sidecar.data() + 50, "Sd2f", 4);
    QFile f(folder.path("._Sidecar"));
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(sidecar);
    f.close();
    fsSpec = folder.fsSpec("Sidecar");
    EXPECT_EQ(CFileUtilFileType(&fsSpec), PvFourCC("Sd2f"));
}

TEST(FileUtilFiles, CheckDirAcceptsFoldersOnly)
{
    Folder folder;
    ASSERT_TRUE(folder.ok());
    ASSERT_TRUE(QDir().mkdir(folder.path("Sub")));
    ASSERT_TRUE(folder.touch("File"));
    FSSpec fsSpec = folder.fsSpec("Sub");
    const int32_t parent = fsSpec.parID;
    ASSERT_EQ(CFileUtilCheckDir(&fsSpec), noErr);
    EXPECT_NE(int32_t(fsSpec.parID), parent);
    EXPECT_EQ(fsSpec.name[0], 0);
    FSSpec file = folder.fsSpec("File");
    EXPECT_NE(CFileUtilCheckDir(&file), noErr);
    EXPECT_EQ(nameOf(file), "File");
    FSSpec missing = folder.fsSpec("Nothing");
    EXPECT_NE(CFileUtilCheckDir(&missing), noErr);
    EXPECT_EQ(CFileUtilCheckDir(nullptr), paramErr);
}

TEST(FileUtilFiles, UniqueNamesCountUpAndRespectStereoPartners)
{
    Folder folder;
    ASSERT_TRUE(folder.ok());
    for (const char* name : {"Vox.aif", "Vox#1.aif", "Take#7.aif", "Gtr.R.aif", "Bass.L.wav", "Bass#1.R.wav"})
        ASSERT_TRUE(folder.touch(name));
    ASSERT_TRUE(QDir().mkdir(folder.path("Sessions")));

    FSSpec fsSpec = folder.fsSpec("Vox.aif");
    EXPECT_TRUE(CFileUtilMakeFileNameUnique(&fsSpec, nullptr));
    EXPECT_EQ(nameOf(fsSpec), "Vox#2.aif");
    fsSpec = folder.fsSpec("Take#7.aif");
    EXPECT_TRUE(CFileUtilMakeFileNameUnique(&fsSpec, nullptr));
    EXPECT_EQ(nameOf(fsSpec), "Take#8.aif");
    fsSpec = folder.fsSpec("Fresh.aif");
    EXPECT_FALSE(CFileUtilMakeFileNameUnique(&fsSpec, nullptr));
    EXPECT_EQ(nameOf(fsSpec), "Fresh.aif");
    fsSpec = folder.fsSpec("Sessions"); // a folder counts as taken
    EXPECT_TRUE(CFileUtilMakeFileNameUnique(&fsSpec, nullptr));
    EXPECT_EQ(nameOf(fsSpec), "Sessions#1");

    // Gtr.L.aif does not exist, but its partner does.
    fsSpec = folder.fsSpec("Gtr.L.aif");
    EXPECT_TRUE(CFileUtilMakeFileNameUnique(&fsSpec, nullptr));
    EXPECT_EQ(nameOf(fsSpec), "Gtr#1.L.aif");
    // ... unless the partner is the exception.
    FSSpec partner = folder.fsSpec("Gtr.R.aif");
    fsSpec = folder.fsSpec("Gtr.L.aif");
    EXPECT_FALSE(CFileUtilMakeFileNameUnique(&fsSpec, &partner));
    // The partner of each new name is checked too.
    fsSpec = folder.fsSpec("Bass.L.wav");
    EXPECT_TRUE(CFileUtilMakeFileNameUnique(&fsSpec, nullptr));
    EXPECT_EQ(nameOf(fsSpec), "Bass#2.L.wav");

    // A full-length name gives way to the number, never the extension.
    const char* longName = "abcdefghijklmnopqrstuvwxyz0.aif";
    ASSERT_TRUE(folder.touch(longName));
    fsSpec = folder.fsSpec(longName);
    EXPECT_TRUE(CFileUtilMakeFileNameUnique(&fsSpec, nullptr));
    EXPECT_EQ(nameOf(fsSpec), "abcdefghijklmnopqrstuvwxy#1.aif");

    FSSpec empty = folder.fsSpec("");
    EXPECT_FALSE(CFileUtilMakeFileNameUnique(&empty, nullptr));
    EXPECT_FALSE(CFileUtilMakeFileNameUnique(nullptr, nullptr));
}

TEST(FileUtilBadInput, DegenerateNamesNeverCrashOrGrow)
{
    const std::string huge(5000, 'x');
    const char* names[] = {"", ".", "..", "...", ".aif", ".L.aif", "(L)", "#", "#99999999999999999999.aif",
        "a.b.c.", "\xC3", "\xFF\xFE.wav", huge.c_str()};
    for (const char* name : names) {
        const size_t len = std::strlen(name);
        for (int flags = 0; flags < 8; ++flags)
            onCopy(
                name, [&](char* n) { CFileUtilHasStereoExtension(n, flags); }, len + 1);
        onCopy(
            name, [](char* n) { CFileUtilCutKnownAudioFileExtension(n); }, len + 1);
        onCopy(
            name, [](char* n) { CFileUtilCutExtension(n, nullptr); }, len + 1);
        onCopy(
            name, [](char* n) { CFileUtilCutExtension(n, ".aif"); }, len + 1);
        for (int size : {1, 2, 5, 32})
            EXPECT_LT(onCopy(
                          name, [&](char* n) { CFileUtilSetExtension(n, ".wav", size); }, len + 8)
                          .size(),
                std::max<size_t>(size_t(size), len + 1));
        CFileUtilGetPointExt(name);
        FSSpec fsSpec = specNamed(name[0] && len < 64 ? name : "x");
        fsSpec.name[0] = uint8_t(std::min<size_t>(len, 63));
        CFileUtilEnsureFSSpecExtension(&fsSpec, ".aif");
        EXPECT_LE(fsSpec.name[0], 31);
    }
    EXPECT_EQ(CFileUtilHasStereoExtension(static_cast<const char*>(nullptr)), -1);
    EXPECT_EQ(CFileUtilHasStereoExtension(nullptr, 7), -1);
    EXPECT_EQ(CFileUtilGetPointExt(nullptr), -1);
    EXPECT_EQ(CFileUtilSetExtension(nullptr, ".aif", 32), nullptr);
}

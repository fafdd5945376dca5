#include "Tests/Classes/PrefPane/ExpansionListener.h"
#include "Tests/Classes/Shared/ExpansionOnVolume.h"
#include "Tests/Support/FileHolder.h"

#include <grp.h>

using ::testing::ElementsAre;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

using LeftAlone = PXPathUncompressorObserver::LeftAlone;

// Whole folders, by the user that runs the test and by others.

static constexpr std::uint32_t kNobody = 65534;

static void run(const Path &path, ExpansionListener &listener)
{
    PXPathUncompressor uncompressor(path);
    uncompressor.setObserver(&listener);
    uncompressor.runWithDelegate(&listener);
}

/// A root without groups owns files of a group that it is not in.
static void joinOwnGroup()
{
    const gid_t group = ::getegid();
    if (::geteuid() == 0) {
        ASSERT_EQ(::setgroups(1, &group), 0);
    }
}

TEST_P(ExpansionOnVolume, oneFile_isExpandedWithItsThreeMessagesInOrder)
{
    joinOwnGroup();
    make();
    ExpansionListener listener;
    run(m_file, listener);
    EXPECT_THAT(listener.messages, ElementsAre("will file", "did file", "finished file"));
    EXPECT_EQ(contentOf(m_file), m_content);
}

TEST_P(ExpansionOnVolume, smallestFileOfARun_isOf4096Bytes)
{
    joinOwnGroup();
    for (const std::size_t size : {4095u, 4096u})
        makeForked(m_folder / std::to_string(size), CompressedSample::fork(Bytes(size, 'x')), size);
    ExpansionListener listener;
    run(m_folder, listener);
    EXPECT_THAT(listener.messages, ElementsAre("will 4096", "did 4096", "finished folder"));
    EXPECT_EQ(listener.leftAlone.at("4095"), LeftAlone::TooSmall);
    EXPECT_TRUE(HFSCompression::isFileUFCompressed(m_folder / "4095"));
}

TEST_P(ExpansionOnVolume, folders_areWalkedAndLinksAreNot)
{
    joinOwnGroup();
    for (const char *folder : {"in/Some.app/Contents", "outside"})
        std::filesystem::create_directories(m_folder / folder);
    make(m_folder / "in/Some.app/Contents/inside");
    make(m_folder / "outside/other");
    std::filesystem::create_directory_symlink("../outside", m_folder / "in/link");
    std::filesystem::create_symlink("../outside/other", m_folder / "in/link-to-file");
    ExpansionListener listener;
    run(m_folder / "in", listener);
    EXPECT_THAT(listener.outcomes, ElementsAre(Pair("inside", Outcome::Expanded)));
    EXPECT_EQ(listener.leftAlone.at("link"), LeftAlone::NotRegular);
    EXPECT_EQ(listener.leftAlone.at("link-to-file"), LeftAlone::NotRegular);
    EXPECT_TRUE(HFSCompression::isFileUFCompressed(m_folder / "outside/other"));
}

/// What another user's run says of the files that `runsOfNobody_…` has made; in that user's process.
static bool isLeftAloneAsItShould(const Path &folder)
{
    const gid_t group = kNobody;
    if (::setgroups(1, &group) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0)
        return false;
    ExpansionListener listener;
    run(folder, listener);
    EXPECT_THAT(listener.outcomes, ElementsAre(Pair("own", ExpansionOutcome::Result::Expanded)));
    std::erase_if(listener.leftAlone, [](const auto &each) { return each.first.starts_with("._"); }); // companions
    EXPECT_THAT(listener.leftAlone,
                UnorderedElementsAre(Pair("roots", LeftAlone::AnothersFile), Pair("read-only", LeftAlone::NotWritable),
                                     Pair("others-group", LeftAlone::AnothersGroup)));
    EXPECT_THAT(listener.unreadable, ElementsAre("closed"));
    return !::testing::Test::HasFailure();
}

TEST_P(ExpansionOnVolume, runOfAnotherUser_expandsThatUsersFilesAlone)
{
    if (::geteuid() != 0)
        return; // nobody else to become
    struct File
    {
        const char *name;
        std::uint32_t owner, group, mode;
    };
    std::filesystem::create_directory(m_folder / "closed");
    const File files[] = {{"own", kNobody, kNobody, 0600},
                          {"roots", 0, kNobody, 0666},
                          {"read-only", kNobody, kNobody, 0400},
                          {"others-group", kNobody, 4321, 0660},
                          {"closed/own", kNobody, kNobody, 0600}};
    for (const File &file : files) {
        const Path path = m_folder / file.name;
        make(path);
        std::filesystem::permissions(path, std::filesystem::perms(file.mode));
        for (const Path &each : {path, companionOf(path)})
            (void)!::lchown(each.c_str(), file.owner, file.group);
    }
    std::filesystem::permissions(m_folder / "closed", std::filesystem::perms(0700));
    ASSERT_EQ(::lchown(m_folder.c_str(), kNobody, kNobody), 0);
    letOthersIn();
    EXPECT_TRUE(FileHolder([&] { return isLeftAloneAsItShould(m_folder); }).isHolding());
    EXPECT_EQ(contentOf(m_folder / "own"), m_content);
    for (const char *name : {"roots", "read-only", "others-group", "closed/own"})
        EXPECT_TRUE(HFSCompression::isFileUFCompressed(m_folder / name)) << name;
}

TEST_P(ExpansionOnVolume, fileOfAnotherUser_cannotBeExpandedByName)
{
    if (::geteuid() != 0)
        return; // nobody else to become
    make();
    std::filesystem::permissions(m_file, std::filesystem::perms(0644));
    letOthersIn();
    const auto tryAsNobody = [&] {
        return ::setgid(kNobody) == 0 && ::setuid(kNobody) == 0 && !expand() && m_error.code == 0 &&
               m_outcome.result == Outcome::FlagNotCleared;
    };
    EXPECT_TRUE(FileHolder(tryAsNobody).isHolding());
    expectStillCompressed();
}

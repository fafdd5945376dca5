#include "Tests/Classes/PrefPane/ExpansionListener.h"

#include "Classes/Shared/HFSCompression.h"
#include "Classes/Shared/Log.h"
#include "Platform/Fake/FakeProcesses.h"
#include "Platform/Formats/CompressedFile.h"
#include "Tests/Support/CompressedSample.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

#include <fstream>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

using ::testing::ElementsAre;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

using LeftAlone = PXPathUncompressorObserver::LeftAlone;

/// Real files in a folder, expanded by a process that belongs to the groups of its files.
class PXPathUncompressorTest : public ::testing::Test
{
protected:
    PXPathUncompressorTest()
    {
        setLogSink([](const std::string &) {});
        m_processes.groups = {::getegid()};
    }
    ~PXPathUncompressorTest() override
    {
        setLogSink(nullptr);
        std::filesystem::remove_all(m_folder);
    }

    void make(const std::string &name, std::size_t size = 5000)
    {
        std::filesystem::create_directories((m_folder / name).parent_path());
        CompressedSample::make(m_folder / name, CompressedSample::text(size));
    }
    void run(const Path &path)
    {
        PXPathUncompressor uncompressor(path);
        uncompressor.setObserver(&m_listener);
        uncompressor.setStop(m_stop.get_token());
        uncompressor.runWithDelegate(&m_listener);
    }
    bool isExpanded(const std::string &name) const { return std::filesystem::file_size(m_folder / name) > 0; }

    Path m_folder = PrivateHome::current().makeFolder("dropped");
    ExpansionListener m_listener;
    std::stop_source m_stop;
    FakeProcesses m_processes;
    Override<Processes> m_processesInPlace{m_processes};
};

TEST_F(PXPathUncompressorTest, oneFile_isExpandedWithItsThreeMessagesInOrder)
{
    make("file");
    const auto uncompressor = PXPathUncompressor::runUncompressorWithPath(m_folder / "file", &m_listener);
    EXPECT_THAT(m_listener.messages, ElementsAre("will file", "did file", "finished file"));
    EXPECT_EQ(uncompressor->status(), PXPathUncompressor::Finished);
    EXPECT_EQ(uncompressor->path(), m_folder / "file");
    EXPECT_EQ(m_listener.statusAtTheEnd, 2);
    EXPECT_TRUE(isExpanded("file"));
}

TEST_F(PXPathUncompressorTest, smallestFile_isOf4096Bytes)
{
    make("4095", 4095);
    make("4096", 4096);
    make("0", 0);
    run(m_folder);
    EXPECT_THAT(m_listener.messages, ElementsAre("will 4096", "did 4096", "finished dropped"));
    EXPECT_TRUE(HFSCompression::isFileUFCompressed(m_folder / "4095"));
    EXPECT_EQ(m_listener.leftAlone.at("4095"), LeftAlone::TooSmall);
}

TEST_F(PXPathUncompressorTest, folders_areWalkedAndLinksAreNot)
{
    make("in/folder/file");
    make("in/Some.app/Contents/inside");
    make("outside/other");
    std::filesystem::create_directory_symlink("../outside", m_folder / "in/link");
    std::filesystem::create_symlink("../outside/other", m_folder / "in/link-to-file");
    run(m_folder / "in");
    EXPECT_THAT(m_listener.outcomes, UnorderedElementsAre(Pair("file", ExpansionOutcome::Result::Expanded),
                                                          Pair("inside", ExpansionOutcome::Result::Expanded)));
    EXPECT_FALSE(isExpanded("outside/other"));
    EXPECT_EQ(m_listener.leftAlone.at("link"), LeftAlone::NotRegular);
    EXPECT_EQ(m_listener.leftAlone.at("link-to-file"), LeftAlone::NotRegular);
    EXPECT_EQ(m_listener.messages.back(), "finished in");
}

TEST_F(PXPathUncompressorTest, ordinaryFiles_areLeftAloneWithoutAMessage)
{
    std::ofstream(m_folder / "text") << std::string(5000, 'x');
    std::ofstream(m_folder / "empty").close();
    run(m_folder);
    EXPECT_THAT(m_listener.messages, ElementsAre("finished dropped"));
    EXPECT_EQ(m_listener.leftAlone.at("text"), LeftAlone::NotCompressed);
    EXPECT_EQ(m_listener.leftAlone.at("empty"), LeftAlone::TooSmall);
}

TEST_F(PXPathUncompressorTest, fileOfAGroupThatIsNotTheProcesss_isLeftAlone)
{
    make("file");
    m_processes.groups = {::getegid() + 1};
    run(m_folder);
    EXPECT_EQ(m_listener.leftAlone.at("file"), LeftAlone::AnothersGroup);
    EXPECT_FALSE(isExpanded("file"));
}

TEST_F(PXPathUncompressorTest, fileThatCannotBeExpanded_getsItsMessagesAllTheSame)
{
    make("file");
    make("sound");
    std::fstream companion(m_folder / "._file", std::ios::in | std::ios::out | std::ios::binary);
    companion.seekp(350);
    companion.write("damage", 6);
    companion.close();
    run(m_folder);
    EXPECT_EQ(m_listener.outcomes.at("file"), ExpansionOutcome::Result::BlockDamaged);
    EXPECT_EQ(m_listener.outcomes.at("sound"), ExpansionOutcome::Result::Expanded);
    EXPECT_EQ(m_listener.messages.size(), 5u);
}

TEST_F(PXPathUncompressorTest, fileInTheMakingThatNobodyHolds_isTakenAwayWithoutAMessage)
{
    const std::string name = "folder/.tamsel-0123456789abcdef.new";
    make("folder/file");
    std::ofstream(m_folder / name) << std::string(5000, 'x');
    std::ofstream(m_folder / (name + "er")) << std::string(5000, 'x');
    run(m_folder);
    EXPECT_THAT(m_listener.messages, ElementsAre("will file", "did file", "finished dropped"));
    EXPECT_FALSE(std::filesystem::exists(m_folder / name));
    EXPECT_FALSE(m_listener.leftAlone.contains(Path(name).filename())) << "it is not there any more";
    EXPECT_TRUE(std::filesystem::exists(m_folder / (name + "er"))) << "not a name of that form";
}

TEST_F(PXPathUncompressorTest, missingPath_isFinishedAtOnce)
{
    run(m_folder / "none");
    EXPECT_THAT(m_listener.messages, ElementsAre("finished none"));
    EXPECT_THAT(m_listener.unreadable, ElementsAre("none"));
}

TEST_F(PXPathUncompressorTest, withoutDelegateAndObserver_filesAreExpanded)
{
    make("file");
    PXPathUncompressor::runUncompressorWithPath(m_folder, nullptr);
    EXPECT_TRUE(isExpanded("file"));
}

TEST_F(PXPathUncompressorTest, secondRunMeanwhile_isIgnoredAndOneAfterwardsIsNot)
{
    class Impatient final : public PXPathUncompressorDelegate
    {
    public:
        void uncompressorWillExpandFile(PXPathUncompressor &uncompressor, const Path &) override
        {
            EXPECT_EQ(uncompressor.status(), PXPathUncompressor::Running);
            uncompressor.runWithDelegate(this);
        }
        void uncompressorDidFinishExpandingPath(PXPathUncompressor &, const Path &) override { ++finished; }
        int finished = 0;
    } impatient;
    make("file");
    PXPathUncompressor uncompressor(m_folder);
    EXPECT_EQ(uncompressor.status(), PXPathUncompressor::NotYetRun);
    uncompressor.runWithDelegate(&impatient);
    EXPECT_EQ(impatient.finished, 1);
    uncompressor.runWithDelegate(&impatient);
    EXPECT_EQ(impatient.finished, 2);
}

TEST_F(PXPathUncompressorTest, stop_leavesTheOthersAloneAndFinishes)
{
    for (const char *name : {"a", "b", "c"})
        make(name);
    m_listener.onEnd = [&] { m_stop.request_stop(); };
    run(m_folder);
    EXPECT_EQ(m_listener.outcomes.size(), 1u);
    EXPECT_EQ(m_listener.messages.size(), 3u);
    EXPECT_EQ(m_listener.messages.back(), "finished dropped");
    EXPECT_EQ(isExpanded("a") + isExpanded("b") + isExpanded("c"), 1);
}

TEST_F(PXPathUncompressorTest, lockLeftByAFile_isLetGoWhenTheRunHasFinished)
{
    make("file");
    class Remover final : public PXPathUncompressorDelegate
    {
    public:
        void uncompressorWillExpandFile(PXPathUncompressor &, const Path &path) override
        {
            std::filesystem::remove(path.parent_path() / ("._" + path.filename().native()));
        }
        void uncompressorDidFinishExpandingPath(PXPathUncompressor &, const Path &) override
        {
            locks = LeftLocks::count();
        }
        std::size_t locks = 0;
    } remover;
    PXPathUncompressor::runUncompressorWithPath(m_folder / "file", &remover);
    EXPECT_EQ(remover.locks, 1u);
    EXPECT_EQ(LeftLocks::count(), 0u);
}

TEST_F(PXPathUncompressorTest, fiveThousandFilesWithoutCompanions_doNotUseUpTheDescriptors)
{
    rlimit limit = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = 512;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    constexpr std::size_t kFiles = 5000;
    std::vector<Path> files;
    for (std::size_t number = 0; number < kFiles; ++number)
        files.push_back(m_folder / std::to_string(number));
    CompressedSample::make(files, CompressedSample::text(5000));
    std::size_t mostLocks = 0, without = 0;
    m_listener.onWill = [](const Path &path) { // a file whose companion is missing before is no large one
        std::filesystem::remove(path.parent_path() / ("._" + path.filename().native()));
    };
    m_listener.onEnd = [&] {
        mostLocks = std::max(mostLocks, LeftLocks::count());
        const int descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        without += descriptor < 0;
        ::close(descriptor);
    };
    run(m_folder);
    EXPECT_EQ(m_listener.outcomes.size(), kFiles);
    for (const auto &[name, outcome] : m_listener.outcomes)
        ASSERT_EQ(outcome, ExpansionOutcome::Result::NoFork) << name;
    EXPECT_EQ(without, 0u) << "files were met without a descriptor to spare";
    EXPECT_GT(mostLocks, 100u) << "nothing was left, so nothing was shown";
    EXPECT_EQ(LeftLocks::count(), 0u);
}

#include "Classes/Shared/DVHFSUncompressor.h"
#include "Platform/DistributedNotificationCenter.h"
#include "Platform/Formats/CompressedFile.h"
#include "Tests/EndToEnd/DropZoneFixture.h"

#include <csignal>

// The ways in which a run ends in its middle.

namespace fs = std::filesystem;

namespace {

/// So many files that they take the panel far longer than the test needs to come to its point.
class DropZoneEnd : public DropZoneFixture
{
protected:
    static constexpr int kMany = 5000;
    static constexpr std::size_t kSize = 5000;

    /// Drops them all, and stops the panel once it has expanded one.
    void dropManyAndStopInTheMiddle()
    {
        makeMany();
        showZone();
        dragIn();
        ASSERT_TRUE(waitFor([this] { return expandedFiles() > 0; }, kTimeoutMs));
        ASSERT_EQ(::kill(pid_t(host.id()), SIGSTOP), 0);
    }
    void goOn() { ASSERT_EQ(::kill(pid_t(host.id()), SIGCONT), 0); }
    void makeMany()
    {
        fs::create_directories(folder / "inner");
        const Bytes content = CompressedSample::text(kSize);
        std::vector<Path> paths;
        for (int index = 0; index < kMany; ++index) {
            const std::string name = "inner/file" + std::to_string(index);
            paths.push_back(folder / name);
            originals[name] = content;
        }
        CompressedSample::make(paths, content);
        companion = companionOf(paths.front());
    }
    int expandedFiles() const
    {
        return int(std::ranges::count_if(originals, [this](const auto &file) { return isExpanded(file.first); }));
    }
    /// Whether it is what it was, but for its flag.
    bool hasItsParts(const std::string &name) const
    {
        const Result<Bytes> header =
            FileSystem::current().attribute(folder / name, kDecmpfsAttribute, Links::NotFollow);
        return !isExpanded(name) && companionOf(folder / name) == companion && header &&
               *header == CompressedSample::decmpfs(kSize);
    }
    bool isWholeCompressed(const std::string &name) const
    {
        return hasItsParts(name) && FileSystem::current().flags(folder / name).valueOr(0) == kCompressedFlag;
    }
    void expectWholeFilesOnly() const
    {
        for (const auto &[name, content] : originals)
            EXPECT_TRUE(isExpanded(name) ? isWholeExpanded(name) && companionOf(folder / name).empty()
                                         : isWholeCompressed(name))
                << name;
        EXPECT_GT(expandedFiles(), 0);
        EXPECT_LT(expandedFiles(), kMany) << "it came to its end";
    }

    std::string companion; ///< of each of them
};

} // namespace

TEST_F(DropZoneEnd, cancelled_leavesWholeFilesOnlyAndListsThem)
{
    dropManyAndStopInTheMiddle();
    const bool isClicked = display.click("Tamsel", kCancel);
    goOn();
    ASSERT_TRUE(isClicked);
    untilFinishedAndDismissed();
    expectWholeFilesOnly();

    const std::string text = list();
    const std::string heading = "Uncompressed\t" + std::to_string(expandedFiles()) + " file";
    EXPECT_EQ(text.substr(0, heading.size()), heading);
    int cancelled = 0;
    for (const auto &[name, reason] : reasonsIn(text)) {
        EXPECT_EQ(reason, isExpanded(name) ? "Uncompressed" : "Left alone: cancelled") << name;
        cancelled += !isExpanded(name);
    }
    EXPECT_LE(cancelled, 1) << "the one that was in hand";
    EXPECT_EQ(host.end(), 0);
}

TEST_F(DropZoneEnd, panelToldToQuit_leavesWholeFilesOnly)
{
    dropManyAndStopInTheMiddle();
    DistributedNotificationCenter::current().post("com.dovrane.tamsel.quit");
    goOn();
    EXPECT_EQ(host.waitForEnd(), 0);
    expectWholeFilesOnly();
}

TEST_F(DropZoneEnd, panelTerminated_leavesWholeFilesOnly)
{
    dropManyAndStopInTheMiddle();
    goOn();
    EXPECT_EQ(host.end(), 0);
    expectWholeFilesOnly();
}

TEST_F(DropZoneEnd, panelKilled_leavesWholeFilesAndCanGoOn)
{
    dropManyAndStopInTheMiddle();
    host.kill();
    EXPECT_LT(expandedFiles(), kMany) << "it was done before it was killed";
    std::vector<std::string> inHand;
    std::vector<std::string> untouched;
    for (const auto &[name, content] : originals) {
        if (!isExpanded(name))
            (isWholeCompressed(name) ? untouched : inHand).push_back(name);
        EXPECT_TRUE(isExpanded(name) ? isWholeExpanded(name) : hasItsParts(name)) << name;
    }
    EXPECT_LE(inHand.size(), 1u) << "only of one the flag may be cleared";
    untouched.resize(std::min<std::size_t>(untouched.size(), 20));
    for (const std::vector<std::string> &some : {inHand, untouched}) {
        for (const std::string &name : some) {
            EXPECT_TRUE(DVHFSUncompressor::expandInPlacePath(folder / name, nullptr, nullptr, nullptr, true)) << name;
            EXPECT_TRUE(isWholeExpanded(name)) << name;
        }
    }
}

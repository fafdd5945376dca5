#include "Classes/PrefPane/ExclusionListFile.h"
#include "Classes/Shared/DVHFSUncompressor.h"
#include "Platform/DistributedNotificationCenter.h"
#include "Platform/FileSystem.h"
#include "Tests/Support/CompressedSample.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/FileDrag.h"
#include "Tests/Support/HelperProcess.h"
#include "Tests/Support/HostProcess.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"
#include "Tests/Support/VirtualDisplay.h"
#include "Tests/Support/WaitFor.h"

#include <gmock/gmock.h>

#include <csignal>
#include <grp.h>
#include <iostream>
#include <map>
#include <sstream>
#include <unistd.h>

namespace fs = std::filesystem;

using ::testing::Contains;
using ::testing::HasSubstr;

namespace {

/// Places in a window of the size that it has at first.
constexpr QPoint kTab{250, 211};
constexpr QPoint kBox{380, 300};
constexpr QPoint kCancel{583, 387};
constexpr QPoint kCopy{555, 596};

constexpr int kTimeoutMs = 120000;
constexpr int kMany = 60;
constexpr std::size_t kSizeOfMany = 3000000;

/// Real files are dragged from another program into the real panel on a display; the real helper listens.
class DropZone : public ::testing::Test
{
protected:
    DropZone()
    {
        fs::create_directories(folder);
        // Files of a group that is not among the process's are left alone, and root may have none.
        const gid_t group = ::getegid();
        if (::geteuid() == 0 && ::setgroups(1, &group) != 0)
            ADD_FAILURE() << "setgroups";
    }
    ~DropZone() override
    {
        host.kill();
        helper.kill();
    }

    /// "file" in a folder of that name; none where this machine has no such thing for this user.
    void makeReadOnly(const std::string &name)
    {
        make(name + "/file", 100000);
        const Path path = folder / name;
        if (::geteuid() != 0)
            return fs::permissions(path / "file", fs::perms::owner_read);
        // Root may write whatever its mode says.
        if (mounts.bind(path, path) && mounts.makeReadOnly(path))
            return;
        std::cout << "No read-only file: root needs a mount for one, and this machine gives a test none of its own.\n";
        fs::remove_all(path);
        originals.erase(name + "/file");
    }
    Bytes make(const std::string &name, std::size_t size)
    {
        const Path path = folder / name;
        fs::create_directories(path.parent_path());
        originals[name] = CompressedSample::text(size);
        CompressedSample::make(path, originals[name]);
        return originals[name];
    }
    /// Enough that what is done to the panel meanwhile comes in their middle.
    void makeMany()
    {
        fs::create_directories(folder / "inner");
        std::vector<Path> paths;
        for (int index = 0; index < kMany; ++index) {
            const std::string name = "inner/file" + std::to_string(index);
            paths.push_back(folder / name);
            originals[name] = {};
        }
        const Bytes content = CompressedSample::text(kSizeOfMany);
        CompressedSample::make(paths, content);
        for (auto &[name, original] : originals)
            original = content;
    }
    static std::string companionOf(const Path &path)
    {
        return contentOf(path.parent_path() / ("._" + path.filename().native()));
    }
    static bool has(const Path &path, const Bytes &content)
    {
        const Result<Bytes> found = FileSystem::current().readFile(path, content.size() + 1);
        return found && *found == content;
    }
    bool isExpanded(const std::string &name) const { return fs::file_size(folder / name) > 0; }
    bool isWholeExpanded(const std::string &name) const { return has(folder / name, originals.at(name)); }
    /// Whether it is what it was before, down to the flag, and its content can be had.
    bool isWholeCompressed(const std::string &name) const
    {
        const Path copy = PrivateHome::current().root() / "copy";
        fs::remove(copy);
        return fs::file_size(folder / name) == 0 && FileSystem::current().flags(folder / name).valueOr(0) == 32 &&
               DVHFSUncompressor(folder / name).expandTo(copy) && has(copy, originals.at(name));
    }

    void showZone()
    {
        ASSERT_TRUE(helper.waitUntilFound());
        host.showOn(display.name());
        host.start();
        ASSERT_TRUE(waitFor([&] { return host.firstFrameOfPane().has_value(); }, kTimeoutMs));
        ASSERT_TRUE(display.activate("Tamsel"));
        ASSERT_TRUE(display.click("Tamsel", kTab));
    }
    void dragIn()
    {
        drag.emplace(display, std::vector<Path>{folder});
        ASSERT_TRUE(drag->moveTo("Tamsel", kBox));
        ASSERT_TRUE(drag->letGo());
    }
    /// Once something is done the panel is stopped, so that not all is done before the test comes to its point.
    void stopInTheMiddle()
    {
        ASSERT_TRUE(waitFor([this] { return isAnyExpanded(); }, kTimeoutMs));
        ASSERT_EQ(::kill(pid_t(host.id()), SIGSTOP), 0);
    }
    bool isAnyExpanded() const
    {
        return std::ranges::any_of(originals, [&](const auto &file) { return isExpanded(file.first); });
    }
    bool isFinished()
    {
        return display.run({QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--name"),
                            QStringLiteral("^Finished")});
    }
    void untilFinishedAndDismissed()
    {
        ASSERT_TRUE(waitFor([this] { return isFinished(); }, kTimeoutMs)) << "no sheet";
        ASSERT_TRUE(display.activate("^Finished"));
        ASSERT_TRUE(display.run({QStringLiteral("key"), QStringLiteral("Return")}));
        ASSERT_TRUE(waitFor([this] { return !isFinished(); }, kTimeoutMs));
    }

    /// The reason that is listed for each file, by its name in the folder.
    std::map<std::string, std::string> listed()
    {
        std::map<std::string, std::string> reasons;
        std::string text;
        waitFor([&] { return display.click("Tamsel", kCopy) && !(text = display.clipboardText()).empty(); },
                kTimeoutMs);
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            const std::size_t at = line.find(folder.native() + '/');
            if (at != std::string::npos)
                reasons[line.substr(at + folder.native().size() + 1)] = line.substr(0, line.find('\t'));
        }
        return reasons;
    }

    PrivateMounts mounts;
    VirtualDisplay display;
    PrivateBus bus;
    HelperProcess helper;
    HostProcess host;
    std::optional<FileDrag> drag;
    Path folder = PrivateHome::current().home() / "Dropped files";
    std::map<std::string, Bytes> originals;
};

} // namespace

TEST_F(DropZone, folderOfEverything_isExpandedAsFarAsItMayBe)
{
    make("a", 5000);
    make("inner/b", 200000);
    make("inner/deep/c", 70000);
    make("damaged", 200000);
    std::string companion = companionOf(folder / "damaged");
    companion.replace(companion.size() / 2, 20, 20, 'x');
    writeFile(folder / "._damaged", companion);
    make("held", 100000);
    makeReadOnly("readonly");
    make("small", 4095);
    std::vector<std::string> kept{"held", "small"};
    if (originals.contains("readonly/file"))
        kept.emplace_back("readonly/file");
    if (::geteuid() == 0) { // only root gives files away
        make("others", 100000);
        kept.emplace_back("others");
        for (const char *const part : {"others", "._others"})
            ASSERT_EQ(::lchown((folder / part).c_str(), 65534, 65534), 0);
    }
    const Path outside = PrivateHome::current().makeFolder("outside");
    CompressedSample::make(outside / "file", CompressedSample::text(50000));
    fs::create_directory_symlink(outside, folder / "link to a folder");
    fs::create_symlink(outside / "file", folder / "link to a file");
    QProcess holder;
    holder.start(QStringLiteral("sh"), {QStringLiteral("-c"), QStringLiteral("exec 3>>\"$1\"; echo held; read end"),
                                        QStringLiteral("sh"), QString::fromStdString((folder / "held").native())});
    ASSERT_TRUE(holder.waitForReadyRead(kTimeoutMs));
    std::map<std::string, std::string> companions;
    for (const std::string &name : kept)
        companions[name] = companionOf(folder / name);

    showZone();
    dragIn();
    untilFinishedAndDismissed();

    for (const char *const name : {"a", "inner/b", "inner/deep/c"})
        EXPECT_TRUE(isWholeExpanded(name)) << name;
    for (const std::string &name : kept) {
        EXPECT_FALSE(isExpanded(name)) << name;
        EXPECT_EQ(FileSystem::current().flags(folder / name).valueOr(0), 32u) << name;
        EXPECT_EQ(companionOf(folder / name), companions[name]) << name;
    }
    EXPECT_FALSE(isExpanded("damaged"));
    EXPECT_EQ(companionOf(folder / "damaged"), companion);
    EXPECT_EQ(fs::file_size(outside / "file"), 0u) << "a link was followed";

    std::map<std::string, std::string> expected{{"a", "Uncompressed"},
                                                {"inner/b", "Uncompressed"},
                                                {"inner/deep/c", "Uncompressed"},
                                                {"damaged", "Failed: damaged block"},
                                                {"held", "Left alone: open in another program"},
                                                {"small", "Left alone: smaller than 4096 bytes"},
                                                {"link to a file", "Left alone: not a regular file"},
                                                {"link to a folder", "Left alone: not a regular file"}};
    if (originals.contains("readonly/file"))
        expected["readonly/file"] = "Left alone: not writable";
    if (originals.contains("others"))
        expected["others"] = "Left alone: another user's";
    EXPECT_EQ(listed(), expected);
    holder.kill();
    holder.waitForFinished();

    const Path list = PrivateHome::current().home() / ".local/share/Tamsel/excludedPaths.plist";
    const std::vector<std::string> paths = ExclusionListFile(list).read().valueOr({});
    EXPECT_THAT(paths, Contains(folder.native()));
    EXPECT_TRUE(helper.waitForLog("Excluded: " + std::to_string(paths.size()) + " paths"));
    EXPECT_EQ(host.end(), 0);
}

TEST_F(DropZone, cancelInTheMiddle_leavesWholeFilesOnly)
{
    makeMany();
    showZone();
    dragIn();
    stopInTheMiddle();
    const bool isClicked = display.click("Tamsel", kCancel);
    ASSERT_EQ(::kill(pid_t(host.id()), SIGCONT), 0);
    ASSERT_TRUE(isClicked);
    untilFinishedAndDismissed();
    int expanded = 0;
    for (const auto &[name, content] : originals) {
        expanded += isExpanded(name);
        EXPECT_TRUE(isWholeExpanded(name) || isWholeCompressed(name)) << name;
    }
    EXPECT_GT(expanded, 0);
    EXPECT_LT(expanded, kMany) << "nothing was cancelled";
}

TEST_F(DropZone, panelKilledInTheMiddle_leavesWholeFilesAndCanGoOn)
{
    makeMany();
    showZone();
    dragIn();
    stopInTheMiddle();
    host.kill();
    int expanded = 0;
    for (const auto &[name, content] : originals) {
        expanded += isExpanded(name);
        // The flag of the file in hand is cleared while it is read.
        EXPECT_TRUE(isWholeExpanded(name) || (fs::file_size(folder / name) == 0 && !companionOf(folder / name).empty()))
            << name;
    }
    EXPECT_LT(expanded, kMany) << "it was done before it was killed";
    for (const auto &[name, content] : originals) {
        if (!isExpanded(name)) {
            EXPECT_TRUE(DVHFSUncompressor::expandInPlacePath(folder / name, nullptr, nullptr, nullptr, true)) << name;
        }
        EXPECT_TRUE(isWholeExpanded(name)) << name;
    }
}

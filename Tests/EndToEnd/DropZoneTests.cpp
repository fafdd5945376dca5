#include "Classes/PrefPane/ExclusionListFile.h"
#include "Tests/EndToEnd/DropZoneFixture.h"

#include <iostream>

namespace fs = std::filesystem;

using ::testing::Contains;

namespace {

/// A folder in which there is a file for each thing that can become of one.
class DropZone : public DropZoneFixture
{
protected:
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
    /// Root alone gives files away.
    void makeAnothersFile(const std::string &name)
    {
        if (::geteuid() != 0)
            return;
        make(name, 100000);
        for (const std::string &part : {name, "._" + name})
            ASSERT_EQ(::lchown((folder / part).c_str(), 65534, 65534), 0);
    }
    void makeDamaged(const std::string &name)
    {
        make(name, 200000);
        std::string companion = companionOf(folder / name);
        companion.replace(companion.size() / 2, 20, 20, 'x');
        writeFile(folder / ("._" + name), companion);
    }
    /// Another program opens the file for writing, and keeps it so.
    void hold(const std::string &name)
    {
        holder.start(QStringLiteral("sh"), {QStringLiteral("-c"), QStringLiteral("exec 3>>\"$1\"; echo held; read end"),
                                            QStringLiteral("sh"), QString::fromStdString((folder / name).native())});
        ASSERT_TRUE(holder.waitForReadyRead(kTimeoutMs));
    }
    void makeEverything()
    {
        make("a", 5000);
        make("inner/b", 200000);
        make("inner/deep/c", 70000);
        makeDamaged("damaged");
        make("held", 100000);
        hold("held");
        makeReadOnly("readonly");
        make("small", 4095);
        makeAnothersFile("others");
        CompressedSample::make(outside / "file", CompressedSample::text(50000));
        fs::create_directory_symlink(outside, folder / "link to a folder");
        fs::create_symlink(outside / "file", folder / "link to a file");
        for (const auto &[name, original] : originals)
            companions[name] = companionOf(folder / name);
    }
    void expectUntouched(const std::string &name) const
    {
        EXPECT_FALSE(isExpanded(name)) << name;
        EXPECT_EQ(FileSystem::current().flags(folder / name).valueOr(0), 32u) << name;
        EXPECT_EQ(companionOf(folder / name), companions.at(name)) << name;
    }

    Path outside = PrivateHome::current().makeFolder("outside");
    std::map<std::string, std::string> companions;
    QProcess holder;
};

} // namespace

TEST_F(DropZone, folderOfEverything_isExpandedAsFarAsItMayBe)
{
    makeEverything();
    std::map<std::string, std::string> leftAlone{{"held", "Left alone: open in another program"},
                                                 {"small", "Left alone: smaller than 4096 bytes"},
                                                 {"readonly/file", "Left alone: not writable"},
                                                 {"others", "Left alone: another user's"}};
    std::erase_if(leftAlone, [this](const auto &file) { return !originals.contains(file.first); });
    showZone();
    dragIn();
    untilFinishedAndDismissed();

    for (const char *const name : {"a", "inner/b", "inner/deep/c"})
        EXPECT_TRUE(isWholeExpanded(name)) << name;
    for (const auto &[name, reason] : leftAlone)
        expectUntouched(name);
    EXPECT_FALSE(isExpanded("damaged"));
    EXPECT_EQ(companionOf(folder / "damaged"), companions["damaged"]);
    EXPECT_EQ(fs::file_size(outside / "file"), 0u) << "a link was followed";
    std::map<std::string, std::string> expected{{"a", "Uncompressed"},
                                                {"inner/b", "Uncompressed"},
                                                {"inner/deep/c", "Uncompressed"},
                                                {"damaged", "Failed: damaged block"},
                                                {"link to a file", "Left alone: not a regular file"},
                                                {"link to a folder", "Left alone: not a regular file"}};
    expected.merge(leftAlone);
    EXPECT_EQ(reasonsIn(list()), expected);
    holder.kill();
    holder.waitForFinished();

    const Path exclusions = PrivateHome::current().home() / ".local/share/Tamsel/excludedPaths.plist";
    const std::vector<std::string> paths = ExclusionListFile(exclusions).read().valueOr({});
    EXPECT_THAT(paths, Contains(folder.native()));
    EXPECT_TRUE(helper.waitForLog("Excluded: " + std::to_string(paths.size()) + " paths"));
    EXPECT_EQ(host.end(), 0);
}

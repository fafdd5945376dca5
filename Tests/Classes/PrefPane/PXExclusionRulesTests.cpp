#include "Classes/PrefPane/PXExclusionRules.h"

#include "Platform/Bundle.h"
#include "Platform/Fake/FakeFileSystem.h"
#include "Tests/Support/EmptyFolder.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/OwnProcess.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <thread>

using ::testing::Contains;
using ::testing::Each;
using ::testing::IsEmpty;

namespace {

/// The main bundle is a folder of the test's.
class MainBundleAt final : public Bundles
{
public:
    explicit MainBundleAt(Path path)
        : m_path(std::move(path))
    {
        std::filesystem::create_directories(m_path / "Contents/Resources");
    }

    Result<Bundle> open(const Path &) const override { return none(); }
    Result<Bundle> main() const override { return hasBundle ? Result<Bundle>(Bundle(m_path, {})) : none(); }
    void remember(const Bundle &) override {}
    std::optional<Bundle> withIdentifier(const std::string &) const override { return std::nullopt; }

    bool hasBundle = true;

private:
    static Failure none() { return {ErrorCode::NotFound, 0, "no bundle"}; }

    Path m_path;
};

std::string ruleForSuffix(const std::string &suffix)
{
    return "<plist version=\"1.0\"><array><dict><key>RuleType</key><string>Exclude</string>"
           "<key>PathEndsWithString</key><string>" +
           suffix + "</string></dict></array></plist>";
}

class PXExclusionRulesTest : public ::testing::Test
{
protected:
    Path application = makeEmptyFolder("Application.app");
    MainBundleAt bundles{application};
    Override<Bundles> installed{bundles};

    FakeFileSystem files;

    void addBothFiles()
    {
        files.addFile("/System/Library/PrivateFrameworks/AppleFSCompression.framework/Resources/"
                      "SystemCompressionRules.plist",
                      bytesOf(ruleForSuffix(".system")));
        files.addFile(application / "Contents/Resources/ExclusionRules.plist", bytesOf(ruleForSuffix(".own")));
        writeFile(application / "Contents/Resources/ExclusionRules.plist", ruleForSuffix(".own"));
    }
    void copyOwnRules()
    {
        std::filesystem::copy_file(TAMSEL_RULES, application / "Contents/Resources/ExclusionRules.plist");
    }
};

} // namespace

TEST_F(PXExclusionRulesTest, sharedInstance_isLoadedFromTheMainBundleAndOneOfAKind)
{
    inProcessOfItsOwn([&] {
        writeFile(application / "Contents/Resources/ExclusionRules.plist", ruleForSuffix(".own"));
        PXExclusionRules *const rules = PXExclusionRules::sharedExclusionRules();
        EXPECT_THAT(rules->suffixRules(), Contains(".own"));
        EXPECT_TRUE(PXExclusionRules::mustExcludePath("/a.own"));
        EXPECT_FALSE(PXExclusionRules::mustExcludePath("/a.other"));
        EXPECT_EQ(PXExclusionRules::sharedExclusionRules(), rules);
        EXPECT_EQ(PXExclusionRules::alloc(), nullptr);
    });
}

TEST_F(PXExclusionRulesTest, systemsRules_countBesideTheOwn)
{
    inProcessOfItsOwn([&] {
        addBothFiles();
        const Override<FileSystem> override(files);
        EXPECT_TRUE(PXExclusionRules::mustExcludePath("/a.system"));
        EXPECT_TRUE(PXExclusionRules::mustExcludePath("/a.own"));
        EXPECT_FALSE(PXExclusionRules::mustExcludePath("/a.other"));
    });
}

TEST_F(PXExclusionRulesTest, systemsRules_areReadFirst)
{
    inProcessOfItsOwn([&] {
        addBothFiles();
        const Override<FileSystem> override(files);
        files.failCall(0, ErrorCode::Io);
        EXPECT_FALSE(PXExclusionRules::mustExcludePath("/a.system")) << "the first call was to read them";
        EXPECT_TRUE(PXExclusionRules::mustExcludePath("/a.own"));
    });
}

TEST_F(PXExclusionRulesTest, firstUse_onManyThreadsAtOnce_makesOneThatIsLoaded)
{
    inProcessOfItsOwn([&] {
        copyOwnRules();
        std::array<PXExclusionRules *, 8> seen = {};
        std::atomic<int> excluding = 0;
        {
            std::vector<std::jthread> threads;
            for (PXExclusionRules *&each : seen)
                threads.emplace_back([&] {
                    excluding += PXExclusionRules::mustExcludePath("/a.jpg");
                    each = PXExclusionRules::sharedExclusionRules();
                });
        }
        EXPECT_THAT(seen, Each(PXExclusionRules::sharedExclusionRules()));
        EXPECT_EQ(excluding, int(seen.size()));
    });
}

TEST_F(PXExclusionRulesTest, alloc_whenThereIsNone_makesTheSharedOne)
{
    inProcessOfItsOwn([&] {
        PXExclusionRules *const rules = PXExclusionRules::alloc();
        ASSERT_NE(rules, nullptr);
        EXPECT_EQ(PXExclusionRules::sharedExclusionRules(), rules);
    });
}

TEST_F(PXExclusionRulesTest, filesMissing_excludeNothingUntilRulesAreAdded)
{
    inProcessOfItsOwn([&] {
        bundles.hasBundle = false;
        PXExclusionRules *const rules = PXExclusionRules::sharedExclusionRules();
        EXPECT_THAT(rules->suffixRules(), IsEmpty());
        EXPECT_FALSE(PXExclusionRules::mustExcludePath("/a.jpg"));
        rules->addRuleForPathSuffix(".jpg");
        EXPECT_TRUE(PXExclusionRules::mustExcludePath("/a.jpg"));
    });
}

TEST_F(PXExclusionRulesTest, fileReplacedLater_isNotReadAgain)
{
    inProcessOfItsOwn([&] {
        copyOwnRules();
        EXPECT_TRUE(PXExclusionRules::mustExcludePath("/a.jpg"));
        std::filesystem::remove(application / "Contents/Resources/ExclusionRules.plist");
        EXPECT_TRUE(PXExclusionRules::mustExcludePath("/a.jpg"));
    });
}

TEST_F(PXExclusionRulesTest, applicationsOwnRules_excludeWhatTheyAreForAndNoMore)
{
    inProcessOfItsOwn([&] {
        copyOwnRules();
        for (const char *path : {"/usr/bin/env",
                                 "/etc/passwd",
                                 "/boot/vmlinuz",
                                 "/System/Library/x",
                                 "/media/u/Mac/System/Library/CoreServices/x",
                                 "/proc/1/maps",
                                 "/sys/kernel/x",
                                 "/dev/null",
                                 "/swapfile",
                                 "/home/u/.local/share/Trash/files/a",
                                 "/media/u/stick/.Trash-1000/files/a",
                                 "/media/u/Mac/.Trashes/501/a",
                                 "/media/u/Mac/.fseventsd/00",
                                 "/media/u/Mac/.HFS+ Private Directory Data\r/dir_1/a",
                                 "/home/u/project/.git/objects/ab/cd",
                                 "/home/u/project/.svn/wc.db",
                                 "/home/u/Backup.sparsebundle/bands/1a",
                                 "/home/u/old.sparseimage",
                                 "/home/u/vm/disk.qcow2",
                                 "/home/u/VMs/Win.vmwarevm/x.vmss",
                                 "/home/u/a.sqlite",
                                 "/home/u/.config/app/Cookies.db-wal",
                                 "/var/lib/postgresql/15/main/base/1",
                                 "/home/u/Mail/inbox.mbox",
                                 "/home/u/Maildir/cur/1",
                                 "/home/u/.thunderbird/x/prefs.js",
                                 "/home/u/.local/share/Tamsel/history.db",
                                 "/home/u/IMG_1.JPG",
                                 "/home/u/a.mp3",
                                 "/home/u/film.mkv"})
            EXPECT_TRUE(PXExclusionRules::mustExcludePath(path)) << path;
        for (const char *path : {"/home/u/letter.txt",
                                 "/home/u/user/file",
                                 "/home/u/usr/bin/x",
                                 "/home/u/etc/x",
                                 "/home/u/project/.gitignore",
                                 "/home/u/.github/x",
                                 "/run/media/u/disk/file",
                                 "/media/u/disk/file",
                                 "/mnt/a",
                                 "/tmp/a",
                                 "/opt/app/x",
                                 "/srv/www/index.html",
                                 "/home/u/swapfile.txt",
                                 "/home/u/Trash/x",
                                 "/home/u/jpg",
                                 "/home/u/a.tiff",
                                 "/home/u/a.wav",
                                 "/home/u/a.psd",
                                 "/home/u/systems/x",
                                 "/home/u/Data/Private Directory/x",
                                 "/home/u/a.log"})
            EXPECT_FALSE(PXExclusionRules::mustExcludePath(path)) << path;
    });
}

TEST_F(PXExclusionRulesTest, applicationsOwnRules_beginAndEndWhereNamesDo)
{
    inProcessOfItsOwn([&] {
        copyOwnRules();
        const PXExclusionRules *const rules = PXExclusionRules::sharedExclusionRules();
        const auto beginsWell = [](const std::string &rule) { return rule.starts_with('/') || rule.starts_with('.'); };
        for (const std::string &rule : rules->suffixRules())
            EXPECT_TRUE(beginsWell(rule)) << rule;
        for (const std::string &rule : rules->componentRules())
            EXPECT_TRUE(beginsWell(rule)) << rule;
        for (const std::string &rule : rules->prefixRules())
            EXPECT_TRUE(rule.starts_with('/') && rule.ends_with('/')) << rule;
        for (const std::string &rule : rules->exactRules())
            EXPECT_TRUE(rule.starts_with('/')) << rule;
    });
}

// What is kept for the user is there and damaged: the programs start all the same, and whatever they make of it, it is
// not lost.
#include "Platform/Workspace.h"
#include "Tests/EndToEnd/HelperFixture.h"
#include "Tests/Support/Damage.h"
#include "Tests/Support/HostProcess.h"
#include "Tests/Support/VirtualDisplay.h"

#include <csignal>
#include <sstream>
#include <sys/file.h>

namespace fs = std::filesystem;

namespace {

constexpr ByteCount kMostMemory = ByteCount{1} << 30; // a sanitizer takes its part of it
constexpr const char *kHelper = "com.dovrane.TamselHelper";
constexpr const char *kForeignEntry = "[Desktop Entry]\nType=Application\nName=Another\nExec=/usr/bin/another\n";

ByteCount mostMemoryOf(qint64 process)
{
    std::istringstream status(contentOf("/proc/" + std::to_string(process) + "/status"));
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:"))
            return std::stoull(line.substr(6)) << 10;
    }
    return 0;
}

class HostileFilesTest : public HelperFixture
{
protected:
    /// The files of a helper that has worked.
    static void makeHelpersFiles()
    {
        set("<key>active</key><true/>");
        writeFile(supportFolder() / "excludedExtensions.plist",
                  "<plist version=\"1.0\"><array><string>iso</string></array></plist>");
        writeFile(supportFolder() / "excludedPaths.plist",
                  "<plist version=\"1.0\"><array><string>/private/rest</string></array></plist>");
        ASSERT_TRUE(HistoryFixture::openDatabase(store())->addFolder("/recorded", bytesOf("an alias")));
    }

    static bool isRunning() { return Workspace::current().isRunning(kHelper); }

    /// Starts the helper, has it read its lists and add a folder, and ends it.
    void expectServes(bool canRecord)
    {
        HelperProcess helper;
        ASSERT_TRUE(helper.waitUntilFound()) << helper.log();
        post("com.dovrane.pellix.excludedPaths");
        addFolders({folder});
        if (canRecord) {
            EXPECT_TRUE(helper.waitForLog("Watching " + folder.native())) << helper.log();
        } else {
            EXPECT_TRUE(helper.waitForLog("The history cannot be opened")) << helper.log();
        }
        EXPECT_LT(mostMemoryOf(helper.id()), kMostMemory);
        post("pellixHelperShouldQuit");
        EXPECT_EQ(helper.waitForEnd(), 0) << helper.log();
    }
};

class DamagedFiles : public HostileFilesTest, public ::testing::WithParamInterface<Damage>
{
protected:
    /// Starts host and helper on a display and waits until both are at work, then ends them.
    void runHost()
    {
        VirtualDisplay display;
        HostProcess host;
        host.showOn(display.name());
        host.start();
        EXPECT_TRUE(waitFor([&] { return host.firstFrameOfPane().has_value(); }, 60000)) << host.log();
        // It is owned when the helper listens: what is posted before is lost.
        EXPECT_TRUE(waitFor(isRunning, 60000)) << host.log();
        EXPECT_LT(mostMemoryOf(host.id()), kMostMemory);
        EXPECT_EQ(host.end(), 0) << host.log();
        post("pellixHelperShouldQuit");
        const int helper = host.helperId();
        EXPECT_TRUE(waitFor([&] { return helper <= 0 || ::kill(helper, 0) != 0; }, 60000)) << "the helper still runs";
        if (helper > 0 && HasFailure())
            ::kill(helper, SIGKILL);
    }
};

} // namespace

TEST_P(DamagedFiles, eachByItself_theHelperServesAndNothingIsLost)
{
    for (const char *const name : {"defaults.plist", "excludedExtensions.plist", "excludedPaths.plist", "history.db"}) {
        SCOPED_TRACE(name);
        fs::remove_all(supportFolder());
        makeHelpersFiles();
        GetParam().apply(supportFolder() / name);
        const Precious precious(supportFolder() / name);
        expectServes(!fs::is_directory(store()));
        EXPECT_TRUE(precious.isThere());
    }
}

TEST_P(DamagedFiles, eachOfTheHistorysCompanions_theHelperServesAndNothingIsLost)
{
    for (const char *const suffix : {"-wal", "-shm", "-journal"}) {
        SCOPED_TRACE(suffix);
        fs::remove_all(supportFolder());
        makeHelpersFiles();
        const Path companion = store().native() + suffix;
        writeFile(companion, std::string(5000, 'c'));
        GetParam().apply(companion);
        expectServes(true);
        const std::vector<WatchedFolder> known = records();
        EXPECT_TRUE(std::ranges::any_of(known, [](const auto &each) { return each.folder == "/recorded"; }));
    }
}

TEST_P(DamagedFiles, allAtOnce_thePaneIsShownAndNothingIsLost)
{
    runHost();
    const Path home = PrivateHome::current().home();
    const Path foreign = home / ".config/autostart/another.desktop";
    fs::create_directories(foreign.parent_path());
    writeFile(foreign, kForeignEntry);
    fs::create_directories(supportFolder());
    for (const char *const name : {"excludedExtensions.plist", "excludedPaths.plist"})
        writeFile(supportFolder() / name, "<plist version=\"1.0\"><array><string>iso</string></array></plist>");
    std::vector<Path> files;
    for (const auto &entry : fs::recursive_directory_iterator(home)) {
        const std::string kind = entry.path().extension();
        if (entry.is_regular_file() && (kind == ".plist" || kind == ".db" || kind == ".desktop"))
            files.push_back(entry.path());
    }
    ASSERT_GE(files.size(), 6u);
    std::vector<Precious> all;
    for (const Path &file : files) {
        GetParam().apply(file);
        all.emplace_back(file);
    }
    runHost();
    for (std::size_t at = 0; at < all.size(); ++at)
        EXPECT_TRUE(all[at].isThere()) << files[at];
    if (fs::is_regular_file(foreign)) {
        EXPECT_TRUE(Precious(foreign).isThere());
    }
}

INSTANTIATE_TEST_SUITE_P(, DamagedFiles, ::testing::ValuesIn(Damages::kAll),
                         [](const auto &each) { return std::string(each.param.name); });

TEST_F(HostileFilesTest, filesThatAnotherProcessHasLocked_theHelperReadsThem)
{
    makeHelpersFiles();
    std::vector<int> held;
    for (const char *const name : {"defaults.plist", "excludedExtensions.plist", "excludedPaths.plist"}) {
        held.push_back(::open((supportFolder() / name).c_str(), O_RDWR | O_CLOEXEC));
        ASSERT_EQ(::flock(held.back(), LOCK_EX | LOCK_NB), 0);
        struct flock whole = {};
        whole.l_type = F_WRLCK;
        ASSERT_EQ(::fcntl(held.back(), F_SETLK, &whole), 0);
    }
    expectServes(true);
    for (const int file : held)
        ::close(file);
}

TEST_F(HostileFilesTest, lockFileThatIsNone_theHelperSaysSoAndEnds)
{
    fs::create_directories(supportFolder() / "helper.lock");
    HelperProcess helper;
    EXPECT_EQ(helper.waitForEnd(), 1);
    EXPECT_TRUE(helper.waitForLog("Cannot tell whether another helper runs")) << helper.log();
}

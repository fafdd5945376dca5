#include "Classes/PrefPane/PXDefaultsController.h"

#include "Classes/Shared/Log.h"
#include "Classes/Shared/truthOf.h"
#include "Platform/Fake/FakeFileSystem.h"
#include "Tests/Classes/PrefPane/PaneTestServices.h"
#include "Tests/Support/PrivateHome.h"

#include <QVariant>

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::vector<std::string> s_log;

/// Each test is a process of its own, and so a start of its own.
class PXDefaultsControllerTest : public testing::Test
{
protected:
    PXDefaultsControllerTest()
    {
        fs::create_directories(folder());
        setLogSink([](const std::string &line) { s_log.push_back(line); });
    }
    ~PXDefaultsControllerTest() override { setLogSink(nullptr); }

    static fs::path folder() { return PrivateHome::current().home() / ".local/share/Tamsel"; }
    static fs::path file() { return folder() / "defaults.plist"; }

    static void write(const PropertyList &settings) { ASSERT_TRUE(settings.write(file())); }
    static void writeText(const std::string &text) { std::ofstream(file()) << text; }
    static std::string textOf(const fs::path &path)
    {
        std::ifstream stream(path);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    static PropertyList written()
    {
        const Result<PropertyList> read = PropertyList::read(file());
        EXPECT_TRUE(read);
        return read.valueOr({});
    }

    /// The files beside the settings.
    static std::vector<fs::path> keptAside()
    {
        std::vector<fs::path> kept;
        for (const auto &entry : fs::directory_iterator(folder())) {
            if (entry.path() != file())
                kept.push_back(entry.path());
        }
        return kept;
    }

    static PXDefaultsController *settings() { return PXDefaultsController::sharedDefaultsController(); }

    static PropertyList builtIn()
    {
        PropertyList list;
        list.set("firstRun", true);
        list.set("folderAliases", PropertyList::Array());
        for (const char *key : {"active", "runAtLogin", "checkUpdates", "visible"})
            list.set(key, true);
        return list;
    }

    SettingsServices services;
};

PropertyList onlyInactive()
{
    PropertyList list;
    list.set("active", false);
    return list;
}

} // namespace

TEST_F(PXDefaultsControllerTest, alloc_theSecondTime_answersNothing)
{
    PXDefaultsController *const made = PXDefaultsController::alloc();
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(PXDefaultsController::alloc(), nullptr);
    EXPECT_EQ(settings(), made);
}

TEST_F(PXDefaultsControllerTest, withoutAFile_startsWithTheBuiltInValuesAndWritesThem)
{
    EXPECT_TRUE(settings()->firstRun());
    EXPECT_TRUE(settings()->helperActive());
    EXPECT_TRUE(settings()->autorunAtLogin());
    EXPECT_TRUE(settings()->checkForUpdates());
    EXPECT_TRUE(settings()->visible());
    EXPECT_EQ(written(), builtIn());
    EXPECT_TRUE(keptAside().empty());
    EXPECT_EQ(services.termination.disableCalls(), 1);
    EXPECT_FALSE(services.termination.isDisabled());
    EXPECT_TRUE(services.center.posts().empty());
}

TEST_F(PXDefaultsControllerTest, fileChangedByAnother_isNotReadAgain)
{
    EXPECT_TRUE(settings()->helperActive());
    write(onlyInactive());
    EXPECT_TRUE(settings()->helperActive());
    settings()->setVisible(false);
    PropertyList expected = builtIn();
    expected.set("visible", false);
    EXPECT_EQ(written(), expected) << "what is in memory counts";
}

TEST_F(PXDefaultsControllerTest, anEmptyDictionary_countsAsNoFile)
{
    write(PropertyList());
    EXPECT_TRUE(settings()->helperActive());
    EXPECT_EQ(written(), builtIn());
    EXPECT_TRUE(keptAside().empty());
}

TEST_F(PXDefaultsControllerTest, aFileWithOneKey_staysSoAndTheRestFallsBack)
{
    write(onlyInactive());
    EXPECT_FALSE(settings()->helperActive());
    EXPECT_TRUE(settings()->firstRun());
    EXPECT_TRUE(settings()->autorunAtLogin());
    EXPECT_TRUE(settings()->checkForUpdates());
    EXPECT_TRUE(settings()->visible());
    EXPECT_EQ(written(), onlyInactive());
}

TEST_F(PXDefaultsControllerTest, keysOfOthers_areKept)
{
    PropertyList list = onlyInactive();
    list.set("ofALaterVersion", PropertyList::Array{PropertyList("x"), PropertyList(7)});
    write(list);
    settings()->setVisible(false);
    list.set("visible", false);
    EXPECT_EQ(written(), list);
}

TEST_F(PXDefaultsControllerTest, setters_writeThroughAndTell)
{
    const struct
    {
        const char *name;
        const char *key;
        void (PXDefaultsController::*set)(bool);
        bool (PXDefaultsController::*get)() const;
        void (PXDefaultsController::*changed)(bool);
    } rows[] = {
        {"active", "active", &PXDefaultsController::setHelperActive, &PXDefaultsController::helperActive,
         &PXDefaultsController::helperActiveChanged},
        {"login", "runAtLogin", &PXDefaultsController::setAutorunAtLogin, &PXDefaultsController::autorunAtLogin,
         &PXDefaultsController::autorunAtLoginChanged},
        {"updates", "checkUpdates", &PXDefaultsController::setCheckForUpdates, &PXDefaultsController::checkForUpdates,
         &PXDefaultsController::checkForUpdatesChanged},
        {"visible", "visible", &PXDefaultsController::setVisible, &PXDefaultsController::visible,
         &PXDefaultsController::visibleChanged},
    };
    for (const auto &row : rows) {
        std::vector<bool> told;
        QObject::connect(settings(), row.changed, [&told](bool value) { told.push_back(value); });
        for (const bool value : {false, false, true}) {
            (settings()->*row.set)(value);
            EXPECT_EQ((settings()->*row.get)(), value) << row.name;
            const PropertyList onDisk = written();
            ASSERT_NE(onDisk.find(row.key), nullptr) << row.name;
            EXPECT_EQ(*onDisk.find(row.key), PropertyList(value)) << row.name;
        }
        EXPECT_THAT(told, ElementsAre(false, false, true)) << row.name << ": told each time, changed or not";
        QObject::disconnect(settings(), nullptr, nullptr, nullptr);
    }
}

TEST_F(PXDefaultsControllerTest, onlyTheUpdateSetter_messagesTheHelper)
{
    settings()->setHelperActive(false);
    settings()->setAutorunAtLogin(false);
    settings()->setVisible(false);
    settings()->setFirstRunDone();
    EXPECT_TRUE(services.center.posts().empty());
    settings()->setCheckForUpdates(true); // it is YES already
    settings()->setCheckForUpdates(false);
    EXPECT_THAT(services.center.postedNames(), ElementsAre("pellixHelperEnableUpdates", "pellixHelperDisableUpdates"));
}

TEST_F(PXDefaultsControllerTest, updateSetter_tellsTheHelperWhenTheFileIsWritten)
{
    settings();
    bool stored = true;
    services.center.addObserver("pellixHelperDisableUpdates", [&stored](const Notification &) {
        stored = *written().find("checkUpdates") == PropertyList(true);
    });
    settings()->setCheckForUpdates(false);
    services.center.deliver();
    EXPECT_FALSE(stored);
}

TEST_F(PXDefaultsControllerTest, firstRunDone_lastsBeyondTheNextStart)
{
    const auto firstStart = [] {
        settings()->setFirstRunDone();
        ::_exit(settings()->firstRun() ? 1 : 0);
    };
    EXPECT_EXIT(firstStart(), testing::ExitedWithCode(0), "");
    EXPECT_FALSE(settings()->firstRun());
    EXPECT_TRUE(settings()->helperActive());
}

TEST_F(PXDefaultsControllerTest, valuesOfOtherKinds_areReadForTheirTruth)
{
    const struct
    {
        const char *name;
        PropertyList value;
        bool expected;
    } rows[] = {
        {"no as a number", PropertyList(0), false},
        {"another number", PropertyList(2), true},
        {"zero as a real", PropertyList(0.0), false},
        {"no in words", PropertyList("NO"), false},
        {"yes in words", PropertyList(" yes"), true},
        {"digits", PropertyList("-01"), true},
        {"zeros", PropertyList("000"), false},
        {"an array falls back", PropertyList(PropertyList::Array()), true},
    };
    for (const auto &row : rows) {
        PropertyList list;
        list.set("active", row.value);
        settings()->defaults() = list;
        EXPECT_EQ(settings()->helperActive(), row.expected) << row.name;
    }
}

TEST_F(PXDefaultsControllerTest, aDamagedFile_isKeptAsideBeforeTheDefaultsAreWritten)
{
    const std::string damaged = "<plist><dict><key>active</key><fal";
    writeText(damaged);
    EXPECT_TRUE(settings()->helperActive());
    EXPECT_EQ(written(), builtIn());
    ASSERT_EQ(keptAside().size(), 1u);
    EXPECT_EQ(textOf(keptAside().front()), damaged);
    EXPECT_THAT(keptAside().front().filename().native(),
                testing::MatchesRegex("defaults\\.plist\\.damaged-[0-9]+-[0-9]+-[0-9]+-[0-9]+"));
}

TEST_F(PXDefaultsControllerTest, aListThatIsNoDictionary_isKeptAside)
{
    write(PropertyList(PropertyList::Array{PropertyList("mine")}));
    EXPECT_TRUE(settings()->visible());
    EXPECT_EQ(written(), builtIn());
    EXPECT_EQ(keptAside().size(), 1u);
}

TEST_F(PXDefaultsControllerTest, aFolderInTheFilesPlace_isKeptAsideWithWhatIsInIt)
{
    fs::create_directories(file() / "inside");
    settings();
    EXPECT_EQ(written(), builtIn());
    ASSERT_EQ(keptAside().size(), 1u);
    EXPECT_TRUE(fs::exists(keptAside().front() / "inside"));
}

TEST_F(PXDefaultsControllerTest, aLinkInTheFilesPlace_isNotWrittenThrough)
{
    const fs::path target = PrivateHome::current().makeFolder("elsewhere") / "precious";
    std::ofstream(target) << "precious";
    fs::create_symlink(target, file());
    settings()->setVisible(false);
    EXPECT_EQ(textOf(target), "precious");
    EXPECT_FALSE(settings()->visible());
}

TEST_F(PXDefaultsControllerTest, aLinkThatLeadsNowhere_isKeptAsideAndTheSettingsAreWritten)
{
    fs::create_symlink("nowhere", file());
    settings()->setVisible(false);
    EXPECT_FALSE(*written().find("visible")->as<bool>());
    ASSERT_EQ(keptAside().size(), 1u);
    EXPECT_EQ(fs::read_symlink(keptAside().front()), "nowhere");
}

TEST_F(PXDefaultsControllerTest, aFailedWrite_isLoggedAndTheValueStaysInMemory)
{
    settings();
    FakeFileSystem empty; // without the folder nothing can be written
    const Override<FileSystem> installed(empty);
    s_log.clear();
    settings()->setHelperActive(false);
    EXPECT_FALSE(settings()->helperActive());
    EXPECT_THAT(s_log, ElementsAre("Could not write preferences to file: " + file().native()));
}

TEST_F(PXDefaultsControllerTest, whateverCallFails_theOldFileStandsUntilItIsKept)
{
    settings();
    const std::string damaged = "not a property list";
    for (int failing = 0;; ++failing) {
        FakeFileSystem files;
        files.addFile(file(), bytesOf(damaged));
        const Override<FileSystem> installed(files);
        files.failCall(failing, ErrorCode::Io);
        settings()->reload();
        settings()->synchronize();
        const bool done = files.calls() <= failing;
        files.failCall(-1, ErrorCode::Io);

        int copies = 0;
        const auto names = files.entries(folder());
        ASSERT_TRUE(names);
        for (const std::string &name : *names)
            copies += stringOf(files.readFile(folder() / name, 1000).valueOr({})) == damaged ? 1 : 0;
        EXPECT_EQ(copies, 1) << "lost when call " << failing << " failed";
        if (done)
            break;
    }
}

TEST_F(PXDefaultsControllerTest, soundFileThatCannotBeReadThisTime_isLeftAndTakenUpLater)
{
    settings();
    const Bytes sound = *onlyInactive().toXml();
    bool wasUnread = false;
    for (int failing = 0;; ++failing) {
        FakeFileSystem files;
        files.addFile(file(), sound);
        const Override<FileSystem> installed(files);
        files.failCall(failing, ErrorCode::Io);
        settings()->reload();
        const bool isUnread = settings()->helperActive();
        settings()->synchronize();
        const bool done = files.calls() <= failing;
        files.failCall(-1, ErrorCode::Io);
        const Result<PropertyList> kept = PropertyList::read(file());
        EXPECT_EQ(truthOf(kept.valueOr({}).find("active")), false) << "lost when call " << failing << " failed";
        EXPECT_EQ(files.entries(folder()).valueOr({}).size(), 1u) << "nothing is wrong with it";

        settings()->setVisible(isUnread);
        EXPECT_FALSE(settings()->helperActive());
        const Result<PropertyList> later = PropertyList::read(file());
        EXPECT_EQ(truthOf(later.valueOr({}).find("active")), false);
        EXPECT_EQ(truthOf(later.valueOr({}).find("visible")), isUnread);
        wasUnread = wasUnread || isUnread;
        if (done)
            break;
    }
    EXPECT_TRUE(wasUnread);
}

TEST_F(PXDefaultsControllerTest, properties_areKnownByName)
{
    EXPECT_EQ(settings()->property("defaults").value<PropertyList>(), builtIn());
    EXPECT_FALSE(settings()->setProperty("defaults", QVariant::fromValue(onlyInactive())));
    for (const char *name : {"helperActive", "checkForUpdates", "autorunAtLogin", "visible"}) {
        EXPECT_EQ(settings()->property(name), QVariant(true)) << name;
        EXPECT_TRUE(settings()->setProperty(name, false)) << name;
        EXPECT_EQ(settings()->property(name), QVariant(false)) << name;
    }
}

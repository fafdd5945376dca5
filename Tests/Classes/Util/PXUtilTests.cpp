#include "Classes/Util/PXUtil.h"
#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/Fake/FakeProcesses.h"
#include "Platform/Fake/FakeUserFolders.h"
#include "Platform/Processes.h"
#include "Tests/Support/PrivateHome.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <fstream>

#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

// The folder. It is remembered for the life of the process; each of these runs in its own.

class PXUtilFolder : public ::testing::Test
{
protected:
    const Path base = PrivateHome::current().home() / ".local/share";
};

TEST_F(PXUtilFolder, none_there_isMadeUnderThePresentName)
{
    const mode_t mask = ::umask(022);
    EXPECT_EQ(PXUtil::applicationSupportFolder(), base / "Tamsel");
    ::umask(mask);
    struct stat status = {};
    ASSERT_EQ(::lstat((base / "Tamsel").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, mode_t(S_IFDIR | 0755));
    EXPECT_FALSE(fs::exists(base / "Pellix"));
    EXPECT_FALSE(fs::exists(base / "Pellixer"));
}

TEST_F(PXUtilFolder, presentName_there_isTaken)
{
    fs::create_directory(base / "Tamsel");
    std::ofstream(base / "Tamsel/kept") << "kept";
    EXPECT_EQ(PXUtil::applicationSupportFolder(), base / "Tamsel");
    EXPECT_TRUE(fs::exists(base / "Tamsel/kept"));
}

TEST_F(PXUtilFolder, allThree_there_isTheOldest)
{
    for (const char *name : {"Tamsel", "Pellixer", "Pellix"})
        fs::create_directory(base / name);
    EXPECT_EQ(PXUtil::applicationSupportFolder(), base / "Pellix");
}

TEST_F(PXUtilFolder, oldestAndPresentName_there_isTheOldest)
{
    fs::create_directory(base / "Tamsel");
    fs::create_directory(base / "Pellix");
    EXPECT_EQ(PXUtil::applicationSupportFolder(), base / "Pellix");
    EXPECT_TRUE(fs::is_directory(base / "Tamsel"));
}

TEST_F(PXUtilFolder, secondNameAlone_there_isTakenAndNothingIsMade)
{
    fs::create_directory(base / "Pellixer");
    EXPECT_EQ(PXUtil::applicationSupportFolder(), base / "Pellixer");
    EXPECT_FALSE(fs::exists(base / "Tamsel"));
}

TEST_F(PXUtilFolder, plainFileUnderALegacyName_there_isTheAnswer)
{
    std::ofstream(base / "Pellix") << "file";
    EXPECT_EQ(PXUtil::applicationSupportFolder(), base / "Pellix");
}

TEST_F(PXUtilFolder, linkUnderALegacyName_danglingOrNot_countsWhenItsTargetIsThere)
{
    fs::create_symlink(base / "nowhere", base / "Pellix");
    fs::create_directory(base / "elsewhere");
    fs::create_directory_symlink(base / "elsewhere", base / "Pellixer");
    EXPECT_EQ(PXUtil::applicationSupportFolder(), base / "Pellixer");
}

TEST_F(PXUtilFolder, answer_onceGiven_stays)
{
    ASSERT_EQ(PXUtil::applicationSupportFolder(), base / "Tamsel");
    fs::remove(base / "Tamsel");
    fs::create_directory(base / "Pellix");
    EXPECT_EQ(PXUtil::applicationSupportFolder(), base / "Tamsel");
    EXPECT_FALSE(fs::exists(base / "Tamsel"));
}

TEST_F(PXUtilFolder, creation_fails_isNothingAndTriedAgain)
{
    FakeFileSystem files;
    const Override<FileSystem> override(files);
    // The directory above it is missing: it is not made with it.
    EXPECT_EQ(PXUtil::applicationSupportFolder(), std::nullopt);
    EXPECT_EQ(PXUtil::pathToExclusionPathsFile(), std::nullopt);
    EXPECT_EQ(PXUtil::pathToExclusionExtensionsFile(), std::nullopt);
    EXPECT_FALSE(files.status(base, Links::Follow));
    files.addFolder(base);
    EXPECT_EQ(PXUtil::applicationSupportFolder(), base / "Tamsel");
}

TEST_F(PXUtilFolder, anyCall_fails_neverAnswersAFolderThatIsNotThere)
{
    for (int failing = 0; failing < 8; ++failing) {
        FakeFileSystem files;
        const Override<FileSystem> override(files);
        files.addFolder(base);
        files.failCall(failing, ErrorCode::NoSpace);
        const std::optional<Path> folder = PXUtil::applicationSupportFolder();
        files.failCall(-1, ErrorCode::Io);
        if (folder) {
            EXPECT_TRUE(files.status(*folder, Links::Follow)) << failing;
            return;
        }
    }
    FAIL() << "never made";
}

TEST_F(PXUtilFolder, noApplicationSupport_liesInTheTemporaryFolder)
{
    ::unsetenv("XDG_DATA_HOME");
    ::setenv("HOME", "/nonexistent/home", 1);
    const Path temporary = *UserFolders::current().temporary();
    EXPECT_EQ(PXUtil::applicationSupportFolder(), temporary / "Tamsel");
    EXPECT_TRUE(fs::is_directory(temporary / "Tamsel"));
}

TEST_F(PXUtilFolder, applicationSupportCannotBeMade_isNothingAndNotTheTemporaryFolder)
{
    FakeUserFolders folders(PrivateHome::current().makeFolder("user"));
    const Override<UserFolders> override(folders);
    folders.failures.failCall(0, ErrorCode::NoSpace);
    EXPECT_EQ(PXUtil::applicationSupportFolder(), std::nullopt);
    EXPECT_EQ(folders.failures.calls(), 1);
    EXPECT_EQ(PXUtil::applicationSupportFolder(), *folders.applicationSupport() / "Tamsel");
}

TEST_F(PXUtilFolder, exclusionFiles_lieInIt)
{
    fs::create_directory(base / "Pellixer");
    EXPECT_EQ(PXUtil::pathToExclusionPathsFile(), base / "Pellixer/excludedPaths.plist");
    EXPECT_EQ(PXUtil::pathToExclusionExtensionsFile(), base / "Pellixer/excludedExtensions.plist");
    EXPECT_TRUE(fs::is_empty(base / "Pellixer"));
}

// Times.

class PXUtilTime : public ::testing::Test
{
protected:
    static constexpr double kTolerance = 5;

    const Path folder = PrivateHome::current().makeFolder("times");

    /// Puts the modification time `seconds` back; the status-change time is now.
    static void age(const Path &path, std::time_t seconds)
    {
        const timespec then = {std::time(nullptr) - seconds, 999'999'999};
        const timespec times[] = {then, then};
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
    }
};

TEST_F(PXUtilTime, regularFile_isMeasuredByItsStatusChange)
{
    std::ofstream(folder / "file") << "content";
    age(folder / "file", 1000);
    EXPECT_NEAR(PXUtil::timeIntervalSinceLastModificationOfPath((folder / "file").c_str()), 0, kTolerance);
}

TEST_F(PXUtilTime, directory_isMeasuredByItsModification)
{
    age(folder, 1000);
    EXPECT_NEAR(PXUtil::timeIntervalSinceLastModificationOfPath(folder.c_str()), 1000, kTolerance);
    fs::permissions(folder, fs::perms::owner_all);
    EXPECT_NEAR(PXUtil::timeIntervalSinceLastModificationOfPath(folder.c_str()), 1000, kTolerance);
}

TEST_F(PXUtilTime, linkToADirectory_isMeasuredByItsOwnStatusChange)
{
    age(folder, 1000);
    const Path link = PrivateHome::current().root() / "link";
    fs::create_directory_symlink(folder, link);
    age(link, 500);
    EXPECT_NEAR(PXUtil::timeIntervalSinceLastModificationOfPath(link.c_str()), 0, kTolerance);
}

TEST_F(PXUtilTime, regularFileMadeLongAgo_permissionsChanged_startsAgain)
{
    std::ofstream(folder / "file") << "content";
    const std::string file = folder / "file";
    while (PXUtil::timeIntervalSinceLastModificationOfPath(file.c_str()) < 1)
        ::usleep(50'000);
    const double before = PXUtil::timeIntervalSinceLastModificationOfPath(file.c_str());
    bool hasStartedAgain = false;
    for (int attempt = 0; attempt < 20 && !hasStartedAgain; ++attempt) { // a busy machine may let a second pass
        fs::permissions(file, fs::perms::owner_all);
        hasStartedAgain = PXUtil::timeIntervalSinceLastModificationOfPath(file.c_str()) < before;
    }
    EXPECT_TRUE(hasStartedAgain);
}

TEST_F(PXUtilTime, missingPath_isMinusOne)
{
    EXPECT_EQ(PXUtil::timeIntervalSinceLastModificationOfPath((folder / "missing").c_str()), -1.0);
    EXPECT_EQ(PXUtil::timeIntervalSinceLastModificationOfPath(""), -1.0);
}

TEST_F(PXUtilTime, timeIntervalSinceTime_isNowLessTheTime)
{
    EXPECT_NEAR(PXUtil::timeIntervalSinceTime(std::time(nullptr) - 60), 60, kTolerance);
    EXPECT_NEAR(PXUtil::timeIntervalSinceTime(std::time(nullptr) + 60), -60, kTolerance);
    EXPECT_NEAR(PXUtil::timeIntervalSinceTime(0), double(std::time(nullptr)), kTolerance);
}

// Groups.

TEST(PXUtilGroups, processGroupsInclude_listedOnes_areIncluded)
{
    FakeProcesses processes;
    const Override<Processes> override(processes);
    processes.groups = {4, 20, 4294967295};
    for (const std::uint32_t group : processes.groups)
        EXPECT_TRUE(PXUtil::processGroupsInclude(group)) << group;
    EXPECT_FALSE(PXUtil::processGroupsInclude(0));
    EXPECT_FALSE(PXUtil::processGroupsInclude(21));
}

TEST(PXUtilGroups, processGroupsInclude_noGroupsOrNoAnswer_isNo)
{
    FakeProcesses processes;
    const Override<Processes> override(processes);
    EXPECT_FALSE(PXUtil::processGroupsInclude(0));
    processes.groups = {4};
    processes.failures.failCall(0, ErrorCode::Io);
    EXPECT_FALSE(PXUtil::processGroupsInclude(4));
}

TEST(PXUtilGroups, processGroupsInclude_effectiveGroupOnly_isNo)
{
    const gid_t groups[] = {4001};
    if (::setgroups(1, groups) != 0)
        GTEST_SKIP() << "only root can change its groups";
    ASSERT_EQ(::setegid(4002), 0);
    EXPECT_EQ(::getegid(), 4002u);
    EXPECT_FALSE(PXUtil::processGroupsInclude(4002));
    EXPECT_TRUE(PXUtil::processGroupsInclude(4001));
}

// Sizes.

TEST(PXUtilSize, getPrettySize_isTheTextOfTheTable)
{
    const std::pair<ByteCount, const char *> rows[] = {
        {0, "0 b"},
        {1, "1 b"},
        {999, "999 b"},
        {1000, "1000 b"},
        {1023, "1023 b"},
        {1024, "1.02 KB"},
        {9994, "9.99 KB"},
        {9995, "9.99 KB"},
        {9996, "10.00 KB"},
        {10000, "10.0 KB"},
        {10240, "10.2 KB"},
        {99999, "100.0 KB"},
        {100000, "100 KB"},
        {102400, "102 KB"},
        {999999, "1000 KB"},
        {1000000, "1.00 MB"},
        {1500000, "1.50 MB"},
        {999999999, "1000 MB"},
        {1000000000, "1.00 GB"},
        {1500000000, "1.50 GB"},
        {1000000000000, "1000 GB"},
        {1000000000000000, "1000000 GB"},
        {ByteCount(1) << 63, "9223371776 GB"},
        {(ByteCount(1) << 63) - 1, "9223371776 GB"},
        {18446744073709551615u, "18446743552 GB"},
    };
    for (const auto &[size, text] : rows)
        EXPECT_EQ(PXUtil::getPrettySize(size), text) << size;
}

TEST(PXUtilSize, getPrettySize_localeWithAComma_keepsThePoint)
{
    // No machine need have such a locale, so the test compiles its own.
    const Path locales = PrivateHome::current().makeFolder("locales");
    const std::string compile = "localedef -i de_DE -f UTF-8 '" + (locales / "de_DE.UTF-8").native() + "' 2>&1";
    ASSERT_EQ(std::system(compile.c_str()), 0);
    ::setenv("LOCPATH", locales.c_str(), 1);
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    char plain[8] = {};
    std::snprintf(plain, sizeof plain, "%.2f", 1.02);
    ASSERT_STREQ(plain, "1,02");
    EXPECT_EQ(PXUtil::getPrettySize(1024), "1.02 KB");
}

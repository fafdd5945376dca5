#include "Platform/Fake/FakeUserFolders.h"
#include "Platform/Linux/LinuxUserFolders.h"
#include "Platform/UserFolders.h"
#include "Tests/Support/PrivateHome.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>

#include <grp.h>
#include <pwd.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

static unsigned modeOf(const Path &path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777u : 0u;
}

static Path privateName()
{
    return "tamsel-" + std::to_string(::geteuid());
}

static Path root()
{
    return PrivateHome::current().root();
}

/// Does `body` in a child, so that what it does to the process ends with it; whether it answered true.
static bool inChild(const std::function<bool()> &body)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(body() ? 0 : 1);
    int status = -1;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// What every answer must keep to.

struct Implementation
{
    const char *name;
    std::function<std::unique_ptr<UserFolders>()> make;
};

static void PrintTo(const Implementation &implementation, std::ostream *stream)
{
    *stream << implementation.name;
}

static std::unique_ptr<UserFolders> makeForNewAccount()
{
    fs::remove_all(root() / "home/.local");
    return std::make_unique<LinuxUserFolders>();
}

class UserFoldersContract : public ::testing::TestWithParam<Implementation>
{
protected:
    const std::unique_ptr<UserFolders> folders = GetParam().make();
};

INSTANTIATE_TEST_SUITE_P(, UserFoldersContract,
                         ::testing::Values(Implementation{"linux", makeForNewAccount},
                                           Implementation{"fake",
                                                          [] {
                                                              return std::make_unique<FakeUserFolders>(
                                                                  PrivateHome::current().makeFolder("f"));
                                                          }}),
                         [](const auto &row) { return row.param.name; });

TEST_P(UserFoldersContract, applicationSupport_whenMissing_isMadePrivate)
{
    const Result<Path> folder = folders->applicationSupport();
    ASSERT_TRUE(folder) << folder.failure().context;
    EXPECT_TRUE(folder->is_absolute());
    EXPECT_TRUE(fs::is_directory(*folder));
    EXPECT_EQ(modeOf(*folder), 0700u);
}

TEST_P(UserFoldersContract, applicationSupport_askedAgain_isTheSameAndKeepsWhatIsInIt)
{
    const Path first = *folders->applicationSupport();
    std::ofstream(first / "kept") << "kept";
    EXPECT_EQ(*folders->applicationSupport(), first);
    EXPECT_TRUE(fs::exists(first / "kept"));
}

TEST_P(UserFoldersContract, home_isAbsolute)
{
    const Result<Path> folder = folders->home();
    ASSERT_TRUE(folder) << folder.failure().context;
    EXPECT_TRUE(folder->is_absolute());
}

TEST_P(UserFoldersContract, temporary_isAPrivateDirectoryAndEndsInASlash)
{
    const Result<Path> folder = folders->temporary();
    ASSERT_TRUE(folder) << folder.failure().context;
    EXPECT_EQ(folder->native().back(), '/');
    EXPECT_TRUE(fs::is_directory(*folder));
    EXPECT_EQ(modeOf(*folder), 0700u);
    EXPECT_EQ(*folders->temporary(), *folder);
}

TEST_P(UserFoldersContract, temporary_programPutThere_canBeRun)
{
    const Path program = *folders->temporary() / "program";
    std::ofstream(program) << "#!/bin/sh\nexit 0\n";
    fs::permissions(program, fs::perms::owner_all);
    EXPECT_EQ(std::system(program.c_str()), 0);
}

// What the fake adds.

TEST(FakeUserFolders, failures_eachCall_canBeMadeToFail)
{
    FakeUserFolders folders(root());
    folders.failures.failCall(1, ErrorCode::NoSpace);
    EXPECT_TRUE(folders.home());
    const Result<Path> second = folders.applicationSupport();
    ASSERT_FALSE(second);
    EXPECT_EQ(second.failure().code, ErrorCode::NoSpace);
    EXPECT_TRUE(folders.temporary());
}

// What is Linux's own.

class LinuxUserFoldersTest : public ::testing::Test
{
protected:
    const Path tmp = root() / "tmp";
    const Path run = root() / "run";
    LinuxUserFolders folders;
};

TEST_F(LinuxUserFoldersTest, applicationSupport_variableSet_isThatFolder)
{
    ::setenv("XDG_DATA_HOME", (root() / "a/b/c").c_str(), 1);
    EXPECT_EQ(folders.applicationSupport().valueOr({}), root() / "a/b/c");
    EXPECT_EQ(modeOf(root() / "a"), 0700u);
    EXPECT_EQ(modeOf(root() / "a/b/c"), 0700u);
}

TEST_F(LinuxUserFoldersTest, applicationSupport_variableEndsInASlash_isMadeToo)
{
    ::setenv("XDG_DATA_HOME", (root() / "data/").c_str(), 1);
    ASSERT_TRUE(folders.applicationSupport());
    EXPECT_TRUE(fs::is_directory(root() / "data"));
}

TEST_F(LinuxUserFoldersTest, applicationSupport_variableUnsetEmptyOrRelative_liesInTheHome)
{
    const Path expected = root() / "home/.local/share";
    fs::remove_all(root() / "home/.local");
    ::unsetenv("XDG_DATA_HOME");
    EXPECT_EQ(folders.applicationSupport().valueOr({}), expected);
    EXPECT_EQ(modeOf(root() / "home/.local"), 0700u);
    EXPECT_EQ(modeOf(expected), 0700u);
    for (const char *value : {"", "relative/folder"}) {
        ::setenv("XDG_DATA_HOME", value, 1);
        EXPECT_EQ(folders.applicationSupport().valueOr({}), expected) << '"' << value << '"';
    }
    EXPECT_FALSE(fs::exists("relative"));
}

TEST_F(LinuxUserFoldersTest, applicationSupport_existingFolder_keepsItsPermissions)
{
    fs::create_directories(root() / "open");
    fs::permissions(root() / "open", fs::perms(0755));
    ::setenv("XDG_DATA_HOME", (root() / "open").c_str(), 1);
    ASSERT_TRUE(folders.applicationSupport());
    EXPECT_EQ(modeOf(root() / "open"), 0755u);
}

TEST_F(LinuxUserFoldersTest, applicationSupport_homeDoesNotExist_isNotFoundAndNothingIsMade)
{
    ::unsetenv("XDG_DATA_HOME");
    ::setenv("HOME", (root() / "nobody").c_str(), 1);
    const Result<Path> folder = folders.applicationSupport();
    ASSERT_FALSE(folder);
    EXPECT_EQ(folder.failure().code, ErrorCode::NotFound);
    EXPECT_FALSE(fs::exists(root() / "nobody"));
}

TEST_F(LinuxUserFoldersTest, applicationSupport_fileInTheWay_isAnErrorOtherThanNotFound)
{
    std::ofstream(root() / "file") << "precious";
    for (const char *name : {"file", "file/below"}) {
        ::setenv("XDG_DATA_HOME", (root() / name).c_str(), 1);
        const Result<Path> folder = folders.applicationSupport();
        ASSERT_FALSE(folder) << name;
        EXPECT_EQ(folder.failure().code, ErrorCode::Io) << name;
    }
    EXPECT_EQ(fs::file_size(root() / "file"), 8u);
}

TEST_F(LinuxUserFoldersTest, home_variableUnsetOrRelative_isTheAccounts)
{
    const Path account = ::getpwuid(::geteuid())->pw_dir;
    ::setenv("HOME", "relative", 1);
    EXPECT_EQ(folders.home().valueOr({}), account);
    ::unsetenv("HOME");
    EXPECT_EQ(folders.home().valueOr({}), account);
}

TEST_F(LinuxUserFoldersTest, temporary_variableSet_liesInIt)
{
    EXPECT_EQ(folders.temporary().valueOr({}), tmp / privateName() / "");
}

TEST_F(LinuxUserFoldersTest, temporary_nameTakenByALink_isNotFollowed)
{
    fs::create_directory_symlink(PrivateHome::current().makeFolder("elsewhere"), tmp / privateName());
    fs::permissions(root() / "elsewhere", fs::perms::owner_all);
    EXPECT_EQ(folders.temporary().valueOr({}), run / "tamsel/");
}

TEST_F(LinuxUserFoldersTest, temporary_nameTakenByAFile_liesInTheRuntimeFolder)
{
    std::ofstream(tmp / privateName()) << "file";
    EXPECT_EQ(folders.temporary().valueOr({}), run / "tamsel/");
    EXPECT_EQ(modeOf(run / "tamsel"), 0700u);
}

TEST_F(LinuxUserFoldersTest, temporary_directoryOpenToOthers_liesInTheRuntimeFolder)
{
    for (const unsigned mode : {0701u, 0770u, 0777u, 0500u}) {
        fs::create_directory(tmp / privateName());
        ::chmod((tmp / privateName()).c_str(), mode);
        EXPECT_EQ(folders.temporary().valueOr({}), run / "tamsel/") << std::oct << mode;
        fs::remove(tmp / privateName());
    }
}

TEST_F(LinuxUserFoldersTest, temporary_runtimeFolderUnusableToo_liesInTheCache)
{
    std::ofstream(tmp / privateName()) << "file";
    std::ofstream(run / "tamsel") << "file";
    const Path expected = root() / "home/.cache/tamsel/tmp/";
    EXPECT_EQ(folders.temporary().valueOr({}), expected);
    EXPECT_EQ(modeOf(root() / "home/.cache/tamsel"), 0700u);
    ::unsetenv("XDG_RUNTIME_DIR");
    EXPECT_EQ(folders.temporary().valueOr({}), expected);
}

TEST_F(LinuxUserFoldersTest, temporary_everyPlaceTaken_isAnError)
{
    std::ofstream(tmp / privateName()) << "file";
    std::ofstream(run / "tamsel") << "file";
    fs::create_directories(root() / "home/.cache/tamsel/tmp");
    fs::permissions(root() / "home/.cache/tamsel/tmp", fs::perms(0755));
    const Result<Path> folder = folders.temporary();
    ASSERT_FALSE(folder);
    EXPECT_EQ(folder.failure().code, ErrorCode::Permission);
}

TEST_F(LinuxUserFoldersTest, temporary_variableNamesNoDirectory_liesInTheSystemsFolder)
{
    const Path expected = Path("/tmp") / privateName() / "";
    const bool wasThere = fs::exists(expected);
    for (const char *value : {"", "relative", "/nowhere/at/all"}) {
        ::setenv("TMPDIR", value, 1);
        // What another test or the user has put under that name may send us on, but never to the variable's.
        const Path folder = folders.temporary().valueOr({});
        EXPECT_TRUE(folder == expected || folder == run / "tamsel/") << '"' << value << "\": " << folder;
    }
    if (!wasThere && fs::exists(expected))
        fs::remove(expected);
}

TEST_F(LinuxUserFoldersTest, temporary_directoryOfAnotherUser_liesInTheRuntimeFolder)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can give a directory away";
    fs::create_directory(tmp / privateName());
    fs::permissions(tmp / privateName(), fs::perms::owner_all);
    ASSERT_EQ(::chown((tmp / privateName()).c_str(), 65534, 65534), 0);
    EXPECT_EQ(folders.temporary().valueOr({}), run / "tamsel/");
}

TEST_F(LinuxUserFoldersTest, temporary_volumeWhereNoProgramMayRun_liesInTheRuntimeFolder)
{
    if (!inChild([] { return ::unshare(CLONE_NEWNS) == 0 || ::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0; }))
        GTEST_SKIP() << "no mount name space of its own is to be had here";
    EXPECT_TRUE(inChild([this] {
        if (::unshare(CLONE_NEWNS) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
            return false;
        ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
        if (::mount("none", tmp.c_str(), "tmpfs", MS_NOEXEC, nullptr) != 0)
            return false;
        return folders.temporary().valueOr({}) == run / "tamsel/";
    }));
}

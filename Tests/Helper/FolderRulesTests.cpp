#include "Helper/FolderRules.h"

#include "Tests/Support/PrivateHome.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>

#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using Reason = FolderRefusal::Reason;

class FolderRulesTest : public ::testing::Test
{
protected:
    std::optional<Reason> reason(const fs::path &path) const { return FolderRules(support).reasonAgainst(path); }

    const fs::path support = PrivateHome::current().makeFolder("home/data/Tamsel");
    const fs::path folder = PrivateHome::current().makeFolder("folder");
};

/// Not root for as long as this lives; root may look everywhere.
class OrdinaryUser final
{
public:
    OrdinaryUser()
    {
        fs::permissions(PrivateHome::current().root(), fs::perms::group_exec | fs::perms::others_exec,
                        fs::perm_options::add);
        if (::getuid() == 0)
            m_isOther = ::seteuid(65534) == 0;
    }
    ~OrdinaryUser()
    {
        if (m_isOther) {
            EXPECT_EQ(::seteuid(0), 0);
        }
    }
    bool isThere() const { return ::geteuid() != 0; }

private:
    bool m_isOther = false;
};

} // namespace

TEST_F(FolderRulesTest, ordinaryFolders_areTaken)
{
    EXPECT_EQ(reason(folder), std::nullopt);
    EXPECT_EQ(reason(PrivateHome::current().home()), std::nullopt) << "the whole home is somebody's choice";
    EXPECT_EQ(reason(support.parent_path()), std::nullopt);
}

TEST_F(FolderRulesTest, wholeDisk_howeverItIsWritten_isRefused)
{
    fs::create_directory_symlink("/", folder / "disk");
    for (const fs::path &each : {fs::path("/"), fs::path("/usr/.."), fs::path("//"), folder / "disk"})
        EXPECT_EQ(reason(each), Reason::WholeDisk) << each;
}

TEST_F(FolderRulesTest, foldersOfTheSystem_areRefused)
{
    fs::create_directory_symlink("/usr/share", folder / "share");
    for (const fs::path &each : {fs::path("/usr"), fs::path("/usr/lib"), fs::path("/etc"), fs::path("/bin"),
                                 fs::path("/proc/self"), fs::path("/dev"), fs::path("/home"), fs::path("/tmp"),
                                 fs::path("/var/lib"), fs::path("/usr/local"), folder / "share"})
        EXPECT_EQ(reason(each), Reason::System) << each;
}

TEST_F(FolderRulesTest, placesOfUsersInTheSystem_areTaken)
{
    EXPECT_EQ(reason("/usr/local/bin"), std::nullopt);
}

TEST_F(FolderRulesTest, ownFiles_andWhatIsInThem_areRefused)
{
    fs::create_directories(support / "inner");
    fs::create_directory_symlink(support, folder / "link");
    for (const fs::path &each : {support, support / "inner", folder / "link"})
        EXPECT_EQ(reason(each), Reason::OwnFiles) << each;
}

TEST_F(FolderRulesTest, nothingOrNoFolder_isMissing)
{
    for (const fs::path &each : {folder / "gone", fs::path("/proc/self/status"), fs::path("relative"), fs::path()})
        EXPECT_EQ(reason(each), Reason::Missing) << each;
}

TEST_F(FolderRulesTest, folderThatMayNotBeRead_isRefused)
{
    fs::create_directories(folder / "closed/inner");
    fs::create_directories(folder / "listed");
    fs::permissions(folder, fs::perms(0755));
    fs::permissions(folder / "closed", fs::perms::none);
    fs::permissions(folder / "listed", fs::perms(0444));
    const OrdinaryUser user;
    if (!user.isThere())
        GTEST_SKIP() << "this process may not become another user";
    EXPECT_EQ(reason(folder / "closed"), Reason::Unreadable);
    EXPECT_EQ(reason(folder / "closed/inner"), Reason::Unreadable);
    EXPECT_EQ(reason(folder / "listed"), Reason::Unreadable) << "its names alone are of no use";
    EXPECT_EQ(reason(folder), std::nullopt);
}

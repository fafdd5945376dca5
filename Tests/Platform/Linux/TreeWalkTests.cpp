#include "Platform/Linux/TreeWalk.h"

#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <fstream>
#include <map>
#include <sys/resource.h>
#include <sys/stat.h>

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::UnorderedElementsAre;

class TreeWalkTest : public ::testing::Test
{
protected:
    /// A chain of folders that no path reaches, with a file before and behind the next folder at each level.
    void makeDeep(int levels)
    {
        Descriptor folder(::open(m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        for (int level = 0; level < levels; ++level) {
            for (const char *name : {"a file", "the folder below", "z file"}) {
                if (name[0] == 't')
                    ASSERT_EQ(::mkdirat(folder.get(), name, 0755), 0);
                else
                    Descriptor(::openat(folder.get(), name, O_CREAT | O_WRONLY | O_CLOEXEC, 0644));
            }
            folder = Descriptor(::openat(folder.get(), "the folder below", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            ASSERT_TRUE(folder);
        }
    }
    int walk()
    {
        int met = 0;
        const TreeWalk::Visit visit = [&](const WalkEntry &) {
            ++met;
            return true;
        };
        const TreeWalk::Unreadable unreadable = [&](const Path &, const Failure &failure) {
            m_unreadable.push_back(failure.context);
        };
        EXPECT_TRUE(TreeWalk(visit, unreadable, {}, MountPoints::NotEnter).run(m_folder));
        return met;
    }

    Path m_folder = PrivateHome::current().makeFolder("tree");
    std::vector<std::string> m_unreadable;
};

TEST_F(TreeWalkTest, tree_ofThousandLevels_isWalkedWithFewDescriptors)
{
    makeDeep(1000);
    rlimit old = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &old), 0);
    const rlimit few = {100, old.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    EXPECT_EQ(walk(), 3000);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &old), 0);
    EXPECT_TRUE(m_unreadable.empty());
}

TEST_F(TreeWalkTest, tree_deepAndWide_isMetWholeAcrossTheParkedLevels)
{
    makeDeep(100);
    for (int index = 0; index < 3000; ++index)
        std::ofstream(m_folder / ("name that fills the buffer more than once " + std::to_string(index))).close();
    for (int index = 0; index < 20; ++index)
        std::filesystem::create_directories(m_folder / ("folder " + std::to_string(index)) / "inner");
    EXPECT_EQ(walk(), 300 + 3000 + 40);
    EXPECT_TRUE(m_unreadable.empty());
}

TEST_F(TreeWalkTest, folder_unreadable_isNamedAndPassedOver)
{
    const Path secret = m_folder / "secret";
    std::filesystem::create_directory(secret);
    ASSERT_EQ(::chmod(secret.c_str(), 0), 0);
    const bool isRoot = ::geteuid() == 0; // whom no permission stops
    if (isRoot) {
        ASSERT_EQ(::chmod(PrivateHome::current().root().c_str(), 0755), 0);
        ASSERT_EQ(::seteuid(12345), 0);
    }
    EXPECT_EQ(walk(), 1);
    if (isRoot) {
        ASSERT_EQ(::seteuid(0), 0);
    }
    ::chmod(secret.c_str(), 0700);
    ASSERT_EQ(m_unreadable.size(), 1u);
    EXPECT_THAT(m_unreadable[0], HasSubstr("secret"));
}

TEST_F(TreeWalkTest, mountPoints_areMetAndNotEntered)
{
    PrivateMounts mounts;
    const Path other = PrivateHome::current().makeFolder("other");
    std::ofstream(other / "file").close();
    for (const std::string name : {"bound", "memory"})
        std::filesystem::create_directory(m_folder / name);
    if (!mounts.mountMemory(m_folder / "memory"))
        GTEST_SKIP() << "this machine gives no mount namespace";
    std::ofstream(m_folder / "memory/file").close();
    ASSERT_TRUE(mounts.bind(other, m_folder / "bound")) << "of the same device";
    EXPECT_EQ(walk(), 2);
    EXPECT_TRUE(m_unreadable.empty());
}

TEST_F(TreeWalkTest, mountPoints_thatAreWanted_areEnteredButNeverInACircle)
{
    PrivateMounts mounts;
    const Path other = PrivateHome::current().makeFolder("other");
    std::ofstream(other / "file").close();
    for (const std::string name : {"bound", "circle", "folder", "folder/circle"})
        std::filesystem::create_directory(m_folder / name);
    if (!mounts.bind(other, m_folder / "bound"))
        GTEST_SKIP() << "this machine gives no mount namespace";
    ASSERT_TRUE(mounts.bind(m_folder, m_folder / "circle"));
    ASSERT_TRUE(mounts.bind(m_folder / "folder", m_folder / "folder/circle"));
    std::vector<std::string> met;
    const TreeWalk::Visit visit = [&](const WalkEntry &entry) {
        met.push_back(entry.path.lexically_relative(m_folder).native());
        return true;
    };
    const TreeWalk::Unreadable unreadable = [](const Path &, const Failure &) {};
    EXPECT_TRUE(TreeWalk(visit, unreadable, {}, MountPoints::Enter).run(m_folder));
    EXPECT_THAT(met, UnorderedElementsAre("bound", "bound/file", "circle", "folder", "folder/circle"));
}

TEST_F(TreeWalkTest, folder_removedWhileWalked_isNoFailure)
{
    std::filesystem::create_directories(m_folder / "a/b");
    std::ofstream(m_folder / "a/b/file").close();
    const TreeWalk::Visit visit = [&](const WalkEntry &entry) {
        std::filesystem::remove_all(entry.path);
        return true;
    };
    std::vector<Path> unreadable;
    const TreeWalk::Unreadable note = [&](const Path &path, const Failure &) { unreadable.push_back(path); };
    EXPECT_TRUE(TreeWalk(visit, note, {}, MountPoints::NotEnter).run(m_folder));
    EXPECT_THAT(unreadable, ElementsAre(m_folder / "a"));
}

TEST_F(TreeWalkTest, folder_replacedByALinkWhileWalked_isNotFollowed)
{
    const Path outside = PrivateHome::current().makeFolder("outside");
    std::ofstream(outside / "file").close();
    std::filesystem::create_directory(m_folder / "a");
    std::vector<std::string> met;
    const TreeWalk::Visit visit = [&](const WalkEntry &entry) {
        met.push_back(entry.path.filename());
        std::filesystem::remove(entry.path);
        std::filesystem::create_symlink(outside, entry.path);
        return true;
    };
    const TreeWalk::Unreadable note = [](const Path &, const Failure &) {};
    EXPECT_TRUE(TreeWalk(visit, note, {}, MountPoints::NotEnter).run(m_folder));
    EXPECT_THAT(met, ElementsAre("a"));
}

TEST_F(TreeWalkTest, farOuterFolder_movedWhileWalked_keepsOnlyWhatCannotBeFoundFromBeingMet)
{
    Path deepest = m_folder;
    for (int level = 1; level <= 80; ++level) { // more than are kept open
        deepest /= "level" + std::to_string(level);
        std::filesystem::create_directory(deepest);
    }
    const Path one = m_folder / "level1", two = one / "level2", three = two / "level3";
    for (const Path &folder : {m_folder, one, three}) {
        for (int number = 0; number < 20; ++number)
            std::ofstream(folder / ("sibling" + std::to_string(number))).close();
    }
    std::map<Path, int> siblings;
    const TreeWalk::Visit visit = [&](const WalkEntry &entry) {
        ++siblings[entry.path.parent_path()];
        if (entry.path == deepest) {
            std::filesystem::rename(three / "level4", m_folder.parent_path() / "moved4");
            std::filesystem::rename(two, m_folder.parent_path() / "moved2");
        }
        return true;
    };
    std::vector<Path> unreadable;
    const TreeWalk::Unreadable note = [&](const Path &path, const Failure &) { unreadable.push_back(path); };
    EXPECT_TRUE(TreeWalk(visit, note, {}, MountPoints::NotEnter).run(m_folder));
    EXPECT_THAT(unreadable, ElementsAre(three, two));
    EXPECT_EQ(siblings[one], 21);
    EXPECT_EQ(siblings[m_folder], 21);
    for (const char *moved : {"moved4", "moved2"})
        std::filesystem::remove_all(m_folder.parent_path() / moved);
}

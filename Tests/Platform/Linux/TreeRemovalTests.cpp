#include "Platform/TreeRemoval.h"

#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"

#include <gtest/gtest.h>

#include <fstream>

namespace fs = std::filesystem;

class TreeRemovalTest : public ::testing::Test
{
protected:
    TreeRemovalTest()
    {
        make(m_tree / "a/b/file");
        make(m_tree / "file");
        make(m_precious / "file");
    }
    static void make(const Path &file)
    {
        fs::create_directories(file.parent_path());
        std::ofstream(file) << "content";
    }
    Result<void> remove() const { return removeTree(m_folder, "tree", FileSystem::current().status(m_tree)->identity); }
    void expectNothingRemoved() const
    {
        EXPECT_TRUE(fs::exists(m_tree / "a/b/file"));
        EXPECT_TRUE(fs::exists(m_tree / "file"));
        EXPECT_TRUE(fs::exists(m_precious / "file"));
    }

    Path m_folder = PrivateHome::current().makeFolder("removal");
    Path m_tree = m_folder / "tree";
    Path m_precious = m_folder / "precious";
};

TEST_F(TreeRemovalTest, folder_isRemovedWithItsContentAndItsLinksAreNotFollowed)
{
    fs::create_directory_symlink(m_precious, m_tree / "a/link");
    const Result<void> removed = remove();
    ASSERT_TRUE(removed) << removed.failure().context;
    EXPECT_FALSE(fs::exists(m_tree));
    EXPECT_TRUE(fs::exists(m_precious / "file"));
}

TEST_F(TreeRemovalTest, partOfTheSameVolumeMountedInside_isBusyAndNothingIsRemoved)
{
    PrivateMounts mounts;
    fs::create_directory(m_tree / "mounted");
    if (!mounts.bind(m_precious, m_tree / "mounted"))
        GTEST_SKIP() << "this machine does not let the test mount anything";
    const Result<void> removed = remove();
    ASSERT_FALSE(removed);
    EXPECT_EQ(removed.failure().code, ErrorCode::Busy);
    expectNothingRemoved();
}

TEST_F(TreeRemovalTest, fileMountedInside_isBusyAndNothingIsRemoved)
{
    PrivateMounts mounts;
    make(m_tree / "mounted");
    if (!mounts.bind(m_precious / "file", m_tree / "mounted"))
        GTEST_SKIP() << "this machine does not let the test mount anything";
    EXPECT_EQ(remove().failure().code, ErrorCode::Busy);
    expectNothingRemoved();
}

TEST_F(TreeRemovalTest, folderMountedInItsPlace_isBusyAndNothingIsRemoved)
{
    PrivateMounts mounts;
    if (!mounts.bind(m_precious, m_tree))
        GTEST_SKIP() << "this machine does not let the test mount anything";
    EXPECT_EQ(remove().failure().code, ErrorCode::Busy);
    EXPECT_TRUE(fs::exists(m_precious / "file"));
}

TEST_F(TreeRemovalTest, anotherVolumeMountedInside_isBusyAndNothingIsRemoved)
{
    PrivateMounts mounts;
    fs::create_directory(m_tree / "mounted");
    if (!mounts.mountMemory(m_tree / "mounted"))
        GTEST_SKIP() << "this machine does not let the test mount anything";
    make(m_tree / "mounted/file");
    EXPECT_EQ(remove().failure().code, ErrorCode::Busy);
    EXPECT_TRUE(fs::exists(m_tree / "mounted/file"));
    expectNothingRemoved();
}

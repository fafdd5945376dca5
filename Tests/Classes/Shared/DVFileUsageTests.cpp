#include "Classes/Shared/DVFileUsage.h"
#include "Tests/Support/FileHolder.h"
#include "Tests/Support/PrivateHome.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <optional>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

// Real processes, which have the file open every way there is.

namespace {

struct Answers
{
    bool isOpen = false;
    bool isWritten = false;

    friend bool operator==(const Answers &, const Answers &) = default;
};

constexpr Answers kRead{true, false};
constexpr Answers kWritten{true, true};
constexpr Answers kUnused{};

class DVFileUsageTest : public ::testing::Test
{
protected:
    DVFileUsageTest() { std::ofstream(file) << "content"; }
    ~DVFileUsageTest() override { std::filesystem::remove_all(folder); }

    /// The mode in the holder's record; nothing when it has none.
    std::optional<std::uint32_t> modeOf(const FileHolder &holder, const Path &path) const
    {
        std::uint32_t count = 0;
        const FileUsageRecord *const users = DVFileUsage::usersOfFile(path, &count);
        std::optional<std::uint32_t> mode;
        for (std::uint32_t index = 0; users && index < count; ++index) {
            if (users[index].pid == holder.id())
                mode = users[index].mode;
        }
        return mode;
    }

    static Answers ask(const Path &path, bool excludingOwnProcess = false)
    {
        Answers answers;
        answers.isOpen = DVFileUsage::isFileOpen(path, &answers.isWritten, excludingOwnProcess);
        return answers;
    }
    std::function<bool()> opening(int flags) const
    {
        const std::string name = file.native();
        return [name, flags] { return ::open(name.c_str(), flags) >= 0; };
    }

    const Path folder = PrivateHome::current().makeFolder("usage");
    const Path file = folder / "file";
};

} // namespace

TEST_F(DVFileUsageTest, fileThatNobodyUses_isNotOpen)
{
    EXPECT_EQ(ask(file), kUnused);
    EXPECT_FALSE(DVFileUsage::isFileOpen(file));
}

TEST_F(DVFileUsageTest, anotherReads_isOpenAndNotWritten)
{
    FileHolder holder(opening(O_RDONLY));
    ASSERT_TRUE(holder.isHolding());
    EXPECT_EQ(modeOf(holder, file), 0u);
    EXPECT_EQ(ask(file), kRead);
    EXPECT_TRUE(DVFileUsage::isFileOpen(file, true));
    holder.release();
    EXPECT_EQ(ask(file), kUnused);
}

TEST_F(DVFileUsageTest, anotherWrites_isWritten)
{
    for (const int flags : {O_WRONLY, O_WRONLY | O_APPEND, O_WRONLY | O_NONBLOCK | O_SYNC}) {
        FileHolder holder(opening(flags));
        ASSERT_TRUE(holder.isHolding());
        EXPECT_EQ(modeOf(holder, file), 1u);
        EXPECT_EQ(ask(file), kWritten);
    }
}

TEST_F(DVFileUsageTest, anotherReadsAndWrites_isWritten)
{
    FileHolder holder(opening(O_RDWR));
    ASSERT_TRUE(holder.isHolding());
    EXPECT_EQ(modeOf(holder, file), 2u);
    EXPECT_EQ(ask(file), kWritten);
}

TEST_F(DVFileUsageTest, anotherNamesItOnly_isAUseForReading)
{
    FileHolder holder(opening(O_PATH));
    ASSERT_TRUE(holder.isHolding());
    EXPECT_EQ(modeOf(holder, file), 0u);
    EXPECT_EQ(ask(file), kRead);
}

TEST_F(DVFileUsageTest, readingBeforeWriting_firstDescriptorCounts)
{
    FileHolder holder([this] { return opening(O_RDONLY)() && opening(O_WRONLY)(); });
    ASSERT_TRUE(holder.isHolding());
    EXPECT_EQ(ask(file), kRead);
}

TEST_F(DVFileUsageTest, mapping_countsWhileItsDescriptorIsOpen)
{
    const auto map = [this](bool isClosing) {
        const int descriptor = ::open(file.c_str(), O_RDWR);
        const void *const memory = ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
        return memory != MAP_FAILED && (!isClosing || ::close(descriptor) == 0);
    };
    FileHolder withDescriptor([&map] { return map(false); });
    ASSERT_TRUE(withDescriptor.isHolding());
    EXPECT_EQ(ask(file), kWritten);
    withDescriptor.release();
    FileHolder without([&map] { return map(true); });
    ASSERT_TRUE(without.isHolding());
    EXPECT_EQ(ask(file), kUnused) << "only descriptors and working directories are looked at";
}

TEST_F(DVFileUsageTest, openByAnotherName_isFound)
{
    std::filesystem::create_hard_link(file, folder / "other");
    FileHolder holder([this] { return ::open((folder / "other").c_str(), O_WRONLY) >= 0; });
    ASSERT_TRUE(holder.isHolding());
    EXPECT_EQ(ask(file), kWritten);
    std::filesystem::rename(folder / "other", folder / "renamed");
    EXPECT_EQ(ask(file), kWritten);
}

TEST_F(DVFileUsageTest, anotherFileUnderTheSameName_isNotUsed)
{
    FileHolder holder(opening(O_WRONLY));
    ASSERT_TRUE(holder.isHolding());
    std::filesystem::rename(file, folder / "old");
    std::ofstream(file) << "content";
    EXPECT_EQ(ask(file), kUnused);
    EXPECT_EQ(ask(folder / "old"), kWritten);
}

TEST_F(DVFileUsageTest, link_isNotFollowed)
{
    std::filesystem::create_symlink("file", folder / "link");
    FileHolder holder(opening(O_WRONLY));
    ASSERT_TRUE(holder.isHolding());
    EXPECT_EQ(ask(folder / "link"), kUnused);
    FileHolder onLink([this] { return ::open((folder / "link").c_str(), O_PATH | O_NOFOLLOW) >= 0; });
    ASSERT_TRUE(onLink.isHolding());
    EXPECT_EQ(ask(folder / "link"), kRead);
}

TEST_F(DVFileUsageTest, workingDirectory_countsAsWritten)
{
    FileHolder holder([this] { return ::chdir(folder.c_str()) == 0; });
    ASSERT_TRUE(holder.isHolding());
    EXPECT_EQ(modeOf(holder, folder), 65535u);
    EXPECT_EQ(ask(folder), kWritten);
    EXPECT_EQ(ask(folder.parent_path()), kUnused);
}

TEST_F(DVFileUsageTest, folderThatIsOpen_isRead)
{
    FileHolder holder([this] { return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY) >= 0; });
    ASSERT_TRUE(holder.isHolding());
    EXPECT_EQ(modeOf(holder, folder), 0u);
}

TEST_F(DVFileUsageTest, rootDirectoryOfAProcess_isNotLookedAt)
{
    if (::getuid() != 0)
        GTEST_SKIP() << "only root can change the root directory of a process";
    FileHolder holder([this] { return ::chroot(folder.c_str()) == 0; });
    ASSERT_TRUE(holder.isHolding());
    EXPECT_EQ(ask(folder), kUnused);
    std::uint32_t count = 0;
    const std::int32_t *const pids = get_pid_list_for(folder.c_str(), &count);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(pids[0], holder.id());
}

TEST_F(DVFileUsageTest, ownProcessAlone_excluded_isNotOpen)
{
    const int own = ::open(file.c_str(), O_WRONLY);
    // The first question of this process: a later one could meet it twice, where processes have ended since.
    EXPECT_FALSE(DVFileUsage::isFileOpen(file, true));
    EXPECT_TRUE(DVFileUsage::isFileOpen(file));
    ::close(own);
}

TEST_F(DVFileUsageTest, ownProcessAlone_excludedFromWriting_isOpenAndNotWritten)
{
    const int own = ::open(file.c_str(), O_WRONLY);
    EXPECT_EQ(ask(file), kWritten);
    EXPECT_EQ(ask(file, true), kRead);
    FileHolder holder(opening(O_RDWR));
    ASSERT_TRUE(holder.isHolding());
    EXPECT_EQ(ask(file, true), kWritten);
    EXPECT_TRUE(DVFileUsage::isFileOpen(file, true));
    ::close(own);
}

TEST_F(DVFileUsageTest, manyDescriptors_lastOneIsFound)
{
    FileHolder holder([this] {
        for (int number = 0; number < 900; ++number) {
            if (::open("/dev/null", O_RDONLY) < 0)
                return false;
        }
        return ::open(file.c_str(), O_WRONLY) >= 0;
    });
    ASSERT_TRUE(holder.isHolding());
    EXPECT_EQ(modeOf(holder, file), 1u);
}

TEST_F(DVFileUsageTest, nameThatIsNoText_isFound)
{
    const Path odd = folder / "\xff\xfe\n";
    std::ofstream(odd) << "content";
    FileHolder holder([&odd] { return ::open(odd.c_str(), O_WRONLY) >= 0; });
    ASSERT_TRUE(holder.isHolding());
    EXPECT_EQ(ask(odd), kWritten);
}

TEST_F(DVFileUsageTest, anotherUsersProcess_isSeenByRootAlone)
{
    if (::getuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    const auto become = [](uid_t user) { return ::setgid(user) == 0 && ::setuid(user) == 0; };
    std::filesystem::permissions(folder, std::filesystem::perms(0755));
    const int inherited = ::open(file.c_str(), O_WRONLY);
    FileHolder stranger([&] { return become(65534); });
    ASSERT_TRUE(stranger.isHolding());
    ::close(inherited);
    EXPECT_EQ(ask(file), kWritten);
    FileHolder other([&] {
        // Named from inside, for the folders above let only their owner through.
        return ::chdir(folder.c_str()) == 0 && become(12345) && ask("file") == kUnused && ask(".") == kWritten;
    });
    EXPECT_TRUE(other.isHolding()) << "sees itself in the folder, and not who writes to the file";
}

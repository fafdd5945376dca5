#include "Platform/Fake/FakeFileLeases.h"
#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/Linux/LinuxFileLeases.h"
#include "Platform/Volumes.h"
#include "Tests/Support/FileHolder.h"
#include "Tests/Support/PrivateHome.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <optional>

#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

/// A folder with the file "file", the link "link" to it, the folder "inside", and somebody who opens the file.
class World
{
public:
    virtual ~World() = default;
    virtual FileLeases &leases() = 0;
    virtual Path folder() const = 0;
    Path file() const { return folder() / "file"; }

    /// Another process has it open from now on, and asks for it only where `isWaiting`.
    virtual void open(bool isForWriting, bool isWaiting) = 0;
    virtual void close() = 0;
};

class LinuxWorld final : public World
{
public:
    LinuxWorld()
        : m_folder(PrivateHome::current().makeFolder("leases"))
    {
        std::ofstream(file()) << "content";
        std::filesystem::create_symlink("file", m_folder / "link");
        std::filesystem::create_directory(m_folder / "inside");
    }
    ~LinuxWorld() override { std::filesystem::remove_all(m_folder); }
    FileLeases &leases() override { return m_leases; }
    Path folder() const override { return m_folder; }
    void open(bool isForWriting, bool isWaiting) override
    {
        const std::string name = file().native();
        const int flags = isForWriting ? O_RDWR : O_RDONLY;
        m_holder.emplace([name, flags] { return ::open(name.c_str(), flags) >= 0; });
        ASSERT_TRUE(isWaiting || m_holder->isHolding());
    }
    void close() override { m_holder.reset(); }
    bool isOpened() { return m_holder->isHolding(); }

private:
    const Path m_folder;
    LinuxFileLeases m_leases;
    std::optional<FileHolder> m_holder;
};

class FakeWorld final : public World
{
public:
    FakeWorld()
    {
        m_files.addFile(file());
        m_files.addLink(folder() / "link", file());
        m_files.addFolder(folder() / "inside");
    }
    FileLeases &leases() override { return m_leases; }
    Path folder() const override { return "/folder"; }
    void open(bool isForWriting, bool) override { m_leases.setWritten(identity(), isForWriting); }
    void close() override { m_leases.setWritten(identity(), false); }

private:
    FileIdentity identity() const { return m_files.status(file(), Links::NotFollow)->identity; }

    FakeFileSystem m_files;
    Override<FileSystem> m_installed{m_files};
    FakeFileLeases m_leases;
};

template <class Kind>
class FileLeasesContract : public ::testing::Test
{
protected:
    Kind world;

    Result<std::unique_ptr<FileLease>> lease() { return world.leases().leaseAgainstWriters(world.file()); }
    std::optional<ErrorCode> failureFor(const char *name)
    {
        const auto answer = world.leases().leaseAgainstWriters(world.folder() / name);
        return answer ? std::nullopt : std::optional(answer.failure().code);
    }
};

using Worlds = ::testing::Types<LinuxWorld, FakeWorld>;
TYPED_TEST_SUITE(FileLeasesContract, Worlds);

} // namespace

TYPED_TEST(FileLeasesContract, leaseAgainstWriters_nobodyHasItOpen_isGrantedAndHeld)
{
    const auto lease = this->lease();
    ASSERT_TRUE(lease) << lease.failure().context;
    EXPECT_TRUE((*lease)->isHeld());
    EXPECT_EQ((*lease)->file(), FileSystem::current().status(this->world.file())->identity);
}

TYPED_TEST(FileLeasesContract, leaseAgainstWriters_readByAnother_isGranted)
{
    this->world.open(false, false);
    EXPECT_TRUE(this->lease());
}

TYPED_TEST(FileLeasesContract, leaseAgainstWriters_writtenByAnother_isBusyUntilItIsClosed)
{
    this->world.open(true, false);
    const auto lease = this->lease();
    ASSERT_FALSE(lease);
    EXPECT_EQ(lease.failure().code, ErrorCode::Busy);
    this->world.close();
    EXPECT_TRUE(this->lease());
}

TYPED_TEST(FileLeasesContract, isHeld_anotherAsksToWrite_isFalseForGood)
{
    const auto lease = this->lease();
    ASSERT_TRUE(lease) << lease.failure().context;
    this->world.open(true, true);
    while ((*lease)->isHeld())
        ::sched_yield();
    this->world.close();
    EXPECT_FALSE((*lease)->isHeld());
}

TYPED_TEST(FileLeasesContract, leaseAgainstWriters_twice_areBothGranted)
{
    const auto first = this->lease();
    const auto second = this->lease();
    EXPECT_TRUE(first);
    EXPECT_TRUE(second);
}

TYPED_TEST(FileLeasesContract, leaseAgainstWriters_noRegularFile_isSaidSo)
{
    EXPECT_EQ(this->failureFor("missing"), ErrorCode::NotFound);
    EXPECT_EQ(this->failureFor("link"), ErrorCode::NotSupported);
    EXPECT_EQ(this->failureFor("inside"), ErrorCode::NotSupported);
}

TEST(LinuxFileLeases, lease_givenBack_letsTheWaitingWriterGoOn)
{
    LinuxWorld world;
    auto lease = world.leases().leaseAgainstWriters(world.file());
    ASSERT_TRUE(lease) << lease.failure().context;
    world.open(true, true);
    while ((*lease)->isHeld())
        ::sched_yield();
    lease->reset();
    EXPECT_TRUE(world.isOpened());
}

TEST(LinuxFileLeases, lease_givenBackWhileAForkedChildLives_isGone)
{
    LinuxWorld world;
    auto lease = world.leases().leaseAgainstWriters(world.file());
    ASSERT_TRUE(lease) << lease.failure().context;
    FileHolder child([] { return true; });
    ASSERT_TRUE(child.isHolding());
    lease->reset();
    const int writer = ::open(world.file().c_str(), O_WRONLY | O_NONBLOCK);
    EXPECT_GE(writer, 0) << errno;
    ::close(writer);
}

TEST(LinuxFileLeases, leaseAgainstWriters_ownDescriptorForWriting_isBusy)
{
    LinuxWorld world;
    const int own = ::open(world.file().c_str(), O_WRONLY);
    const auto lease = world.leases().leaseAgainstWriters(world.file());
    ::close(own);
    ASSERT_FALSE(lease);
    EXPECT_EQ(lease.failure().code, ErrorCode::Busy);
}

TEST(LinuxFileLeases, leaseAgainstWriters_mappedForWritingWithoutADescriptor_isBusy)
{
    LinuxWorld world;
    if (Volumes::current().typeName(world.folder()).valueOr({}) == "overlay")
        GTEST_SKIP() << "an overlay does not tell of mappings";
    FileHolder holder([&world] {
        const int descriptor = ::open(world.file().c_str(), O_RDWR);
        const void *const memory = ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
        return memory != MAP_FAILED && ::close(descriptor) == 0;
    });
    ASSERT_TRUE(holder.isHolding());
    const auto lease = world.leases().leaseAgainstWriters(world.file());
    ASSERT_FALSE(lease);
    EXPECT_EQ(lease.failure().code, ErrorCode::Busy);
}

TEST(LinuxFileLeases, leaseAgainstWriters_writtenByAnotherUser_isBusy)
{
    if (::getuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    LinuxWorld world;
    FileHolder stranger([&world] { return ::open(world.file().c_str(), O_WRONLY) >= 0 && ::setuid(65534) == 0; });
    ASSERT_TRUE(stranger.isHolding());
    EXPECT_FALSE(world.leases().leaseAgainstWriters(world.file()));
}

TEST(LinuxFileLeases, leaseAgainstWriters_anotherUsersFile_isNotPermitted)
{
    LinuxWorld world;
    ASSERT_EQ(::chmod(world.file().c_str(), 0644), 0);
    ASSERT_EQ(::chmod(world.folder().c_str(), 0755), 0);
    FileHolder stranger([&world] {
        if (::chdir(world.folder().c_str()) != 0 || ::setuid(65534) != 0)
            return false;
        const auto lease = LinuxFileLeases().leaseAgainstWriters("file");
        return !lease && lease.failure().code == ErrorCode::Permission;
    });
    if (::getuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    EXPECT_TRUE(stranger.isHolding());
}

TEST(FakeFileLeases, count_leaseGivenBack_isLower)
{
    FakeWorld world;
    auto &leases = dynamic_cast<FakeFileLeases &>(world.leases());
    auto lease = leases.leaseAgainstWriters(world.file());
    EXPECT_EQ(leases.count(), 1u);
    lease->reset();
    EXPECT_EQ(leases.count(), 0u);
}

TEST(FakeFileLeases, failures_call_canBeMadeToFail)
{
    FakeWorld world;
    auto &leases = dynamic_cast<FakeFileLeases &>(world.leases());
    leases.failures.failCall(0, ErrorCode::Io);
    EXPECT_FALSE(leases.leaseAgainstWriters(world.file()));
    EXPECT_TRUE(leases.leaseAgainstWriters(world.file()));
}

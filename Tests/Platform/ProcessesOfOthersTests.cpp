#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/Fake/FakeProcesses.h"
#include "Platform/Linux/LinuxProcesses.h"
#include "Tests/Support/FileHolder.h"
#include "Tests/Support/PrivateHome.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <list>
#include <memory>
#include <thread>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

/// A folder with the file "file" and processes that use it.
class World
{
public:
    virtual ~World() = default;
    virtual Processes &processes() = 0;
    virtual Path folder() const = 0;
    Path file() const { return folder() / "file"; }

    /// Starts a process in the folder that has the file open once for each of `openFlags`, which are open(2)'s.
    virtual std::int32_t start(const std::vector<int> &openFlags) = 0;
    virtual void endAll() = 0;
};

class LinuxWorld final : public World
{
public:
    LinuxWorld()
        : m_folder(PrivateHome::current().makeFolder("processes"))
    {
        std::ofstream(file()) << "content";
    }
    ~LinuxWorld() override { std::filesystem::remove_all(m_folder); }
    Processes &processes() override { return m_processes; }
    Path folder() const override { return m_folder; }
    std::int32_t start(const std::vector<int> &openFlags) override
    {
        FileHolder &holder = m_holders.emplace_back([this, openFlags] {
            return ::chdir(m_folder.c_str()) == 0 && std::all_of(openFlags.begin(), openFlags.end(),
                                                                 [](int flags) { return ::open("file", flags) >= 0; });
        });
        EXPECT_TRUE(holder.isHolding());
        return holder.id();
    }
    void endAll() override { m_holders.clear(); }

private:
    const Path m_folder;
    LinuxProcesses m_processes;
    std::list<FileHolder> m_holders;
};

class FakeWorld final : public World
{
public:
    FakeWorld()
    {
        m_files.addFile(file());
        m_processes.processes.push_back({m_processes.id, identity("/"), {}});
    }
    Processes &processes() override { return m_processes; }
    Path folder() const override { return "/folder"; }
    std::int32_t start(const std::vector<int> &openFlags) override
    {
        FakeProcesses::Process process{100 + std::int32_t(m_processes.processes.size()), identity(folder()), {}};
        for (const int flags : openFlags) {
            const std::uint32_t bits = flags & O_PATH                    ? Processes::kReading
                                       : (flags & O_ACCMODE) == O_RDONLY ? Processes::kReading
                                       : (flags & O_ACCMODE) == O_WRONLY ? Processes::kWriting
                                                                         : Processes::kReading | Processes::kWriting;
            process.open.push_back({3 + std::int32_t(process.open.size()), identity(file()), bits});
        }
        m_processes.processes.push_back(process);
        return process.id;
    }
    void endAll() override { m_processes.processes.resize(1); }

private:
    FileIdentity identity(const Path &path) const { return m_files.status(path, Links::Follow)->identity; }

    FakeFileSystem m_files;
    Override<FileSystem> m_installed{m_files};
    FakeProcesses m_processes;
};

template <class Kind>
class ProcessesOfOthersContract : public ::testing::Test
{
protected:
    Kind world;

    static FileIdentity identity(const Path &path) { return FileSystem::current().status(path)->identity; }

    /// The flags of each descriptor of the file, in order.
    std::vector<std::uint32_t> flagsOf(std::int32_t process)
    {
        std::vector<ProcessDescriptor> descriptors;
        const Result<std::size_t> count = world.processes().descriptors(process, descriptors);
        EXPECT_TRUE(count);
        std::vector<std::uint32_t> flags;
        for (std::size_t index = 0; index < count.valueOr(0); ++index) {
            if (descriptors[index].file == identity(world.file()))
                flags.push_back(world.processes().openFlags(process, descriptors[index]).valueOr(99));
        }
        return flags;
    }
    std::vector<std::int32_t> usersOf(const Path &path)
    {
        std::vector<std::int32_t> buffer;
        const Result<std::size_t> count = world.processes().processesUsing(path, buffer);
        EXPECT_TRUE(count);
        buffer.resize(count.valueOr(0));
        return buffer;
    }
};

using Worlds = ::testing::Types<LinuxWorld, FakeWorld>;
TYPED_TEST_SUITE(ProcessesOfOthersContract, Worlds);

constexpr std::uint32_t kReading = Processes::kReading;
constexpr std::uint32_t kWriting = Processes::kWriting;

} // namespace

TYPED_TEST(ProcessesOfOthersContract, processIds_listed_haveThisProcessAndTheStartedOne)
{
    const std::int32_t started = this->world.start({});
    std::vector<std::int32_t> ids;
    const Result<std::size_t> count = this->world.processes().processIds(ids);
    ASSERT_TRUE(count);
    const auto end = ids.begin() + std::ptrdiff_t(*count);
    EXPECT_EQ(std::count(ids.begin(), end, started), 1);
    EXPECT_EQ(std::count(ids.begin(), end, this->world.processes().ownId()), 1);
}

TYPED_TEST(ProcessesOfOthersContract, buffers_largerThanTheList_keepTheirEnd)
{
    const std::int32_t started = this->world.start({O_RDONLY});
    std::vector<std::int32_t> ids(5000, -7);
    std::vector<ProcessDescriptor> descriptors(5000);
    const Result<std::size_t> idCount = this->world.processes().processIds(ids);
    const Result<std::size_t> descriptorCount = this->world.processes().descriptors(started, descriptors);
    ASSERT_TRUE(idCount && descriptorCount);
    ASSERT_LT(*idCount, 5000u);
    EXPECT_EQ(ids.size(), 5000u);
    EXPECT_EQ(ids[*idCount], -7);
    EXPECT_EQ(descriptors.size(), 5000u);
    EXPECT_EQ(descriptors[*descriptorCount].number, -1);
}

TYPED_TEST(ProcessesOfOthersContract, workingDirectory_ofAnother_isTheFolder)
{
    const Result<FileIdentity> folder = this->world.processes().workingDirectory(this->world.start({}));
    ASSERT_TRUE(folder);
    EXPECT_EQ(*folder, this->identity(this->world.folder()));
}

TYPED_TEST(ProcessesOfOthersContract, descriptors_openedEveryWay_tellHow)
{
    EXPECT_EQ(this->flagsOf(this->world.start({})), std::vector<std::uint32_t>());
    EXPECT_EQ(this->flagsOf(this->world.start({O_RDONLY, O_WRONLY, O_RDWR, O_PATH})),
              (std::vector<std::uint32_t>{kReading, kWriting, kReading | kWriting, kReading}));
    EXPECT_EQ(this->flagsOf(this->world.start({O_WRONLY | O_APPEND | O_NONBLOCK})),
              std::vector<std::uint32_t>{kWriting});
}

TYPED_TEST(ProcessesOfOthersContract, openFlags_descriptorThatIsClosedOrAnotherFile_isNotFound)
{
    const std::int32_t started = this->world.start({O_RDONLY});
    std::vector<ProcessDescriptor> descriptors;
    const Result<std::size_t> count = this->world.processes().descriptors(started, descriptors);
    ASSERT_TRUE(count);
    ProcessDescriptor descriptor = descriptors[*count - 1];
    EXPECT_TRUE(this->world.processes().openFlags(started, descriptor));
    ++descriptor.file.inode;
    EXPECT_EQ(this->world.processes().openFlags(started, descriptor).failure().code, ErrorCode::NotFound);
    descriptor = {4999, descriptors[*count - 1].file};
    EXPECT_EQ(this->world.processes().openFlags(started, descriptor).failure().code, ErrorCode::NotFound);
}

TYPED_TEST(ProcessesOfOthersContract, endedProcess_isNotFound)
{
    const std::int32_t started = this->world.start({O_RDONLY});
    this->world.endAll();
    std::vector<ProcessDescriptor> descriptors;
    Processes &processes = this->world.processes();
    EXPECT_EQ(processes.workingDirectory(started).failure().code, ErrorCode::NotFound);
    EXPECT_EQ(processes.descriptors(started, descriptors).failure().code, ErrorCode::NotFound);
    EXPECT_EQ(processes.openFlags(started, {3, {}}).failure().code, ErrorCode::NotFound);
}

TYPED_TEST(ProcessesOfOthersContract, processesUsing_fileOrFolder_areThoseThatHoldIt)
{
    const std::int32_t reader = this->world.start({O_RDONLY});
    const std::int32_t resident = this->world.start({});
    EXPECT_EQ(this->usersOf(this->world.file()), std::vector{reader});
    EXPECT_EQ(this->usersOf(this->world.folder()), (std::vector{reader, resident}));
    std::vector<std::int32_t> buffer;
    EXPECT_EQ(this->world.processes().processesUsing("/nowhere", buffer).failure().code, ErrorCode::NotFound);
}

TEST(LinuxProcesses, descriptors_ofAProcessWhoseFirstThreadHasEnded_areThoseOfTheOthers)
{
    LinuxWorld world;
    int ready[2] = {-1, -1};
    ASSERT_EQ(::pipe(ready), 0);
    FileHolder process([&]() -> bool {
        const bool isOpen = ::chdir(world.folder().c_str()) == 0 && ::open("file", O_RDWR) >= 0;
        std::thread([&ready, isOpen] {
            if (isOpen && ::write(ready[1], "y", 1) == 1)
                ::pause();
        }).detach();
        ::syscall(SYS_exit, 0); // this thread alone
        return false;
    });
    ::close(ready[1]);
    char word = 'n';
    ASSERT_EQ(::read(ready[0], &word, 1), 1);
    const auto hasEnded = [&process] {
        std::ifstream stat("/proc/" + std::to_string(process.id()) + "/stat");
        std::string id, name, state;
        stat >> id >> name >> state;
        return state == "Z";
    };
    while (!hasEnded())
        std::this_thread::yield();
    const FileIdentity file = FileSystem::current().status(world.file())->identity;
    std::vector<ProcessDescriptor> descriptors;
    const Result<std::size_t> count = world.processes().descriptors(process.id(), descriptors);
    ASSERT_TRUE(count) << count.failure().context;
    const auto found =
        std::find_if(descriptors.begin(), descriptors.end(), [&](const auto &each) { return each.file == file; });
    ASSERT_NE(found, descriptors.end());
    EXPECT_EQ(world.processes().openFlags(process.id(), *found).valueOr(99), kReading | kWriting);
    const Result<FileIdentity> folder = world.processes().workingDirectory(process.id());
    ASSERT_TRUE(folder) << folder.failure().context;
    EXPECT_EQ(*folder, FileSystem::current().status(world.folder())->identity);
}

TEST(LinuxProcesses, processesUsing_program_areThoseThatRunIt)
{
    std::vector<std::int32_t> buffer;
    const LinuxProcesses processes;
    const Result<std::size_t> count = processes.processesUsing("/proc/self/exe", buffer);
    ASSERT_TRUE(count);
    EXPECT_EQ(std::count(buffer.begin(), buffer.begin() + std::ptrdiff_t(*count), processes.ownId()), 1);
}

TEST(LinuxProcesses, anothersProcess_askedByAnOrdinaryUser_isNotPermitted)
{
    if (::getuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    const std::int32_t owner = ::getpid();
    FileHolder stranger([owner] {
        std::vector<ProcessDescriptor> descriptors;
        const LinuxProcesses processes;
        if (::setuid(65534) != 0)
            return false;
        const auto folder = processes.workingDirectory(owner);
        const auto count = processes.descriptors(owner, descriptors);
        return !folder && folder.failure().code == ErrorCode::Permission && !count &&
               count.failure().code == ErrorCode::Permission;
    });
    EXPECT_TRUE(stranger.isHolding());
}

TEST(FakeProcesses, anothersProcess_isNotPermitted)
{
    FakeProcesses processes;
    processes.processes = {{7, {}, {}, true}};
    std::vector<ProcessDescriptor> descriptors;
    EXPECT_EQ(processes.workingDirectory(7).failure().code, ErrorCode::Permission);
    EXPECT_EQ(processes.descriptors(7, descriptors).failure().code, ErrorCode::Permission);
}

#include "Platform/Fake/FakeThisProcess.h"
#include "Platform/Linux/LinuxThisProcess.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sched.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

/// Both kinds lock a file against themselves too, so that one process shows what two would see.
template <class Kind>
class ThisProcessContract : public ::testing::Test
{
protected:
    Kind process;
    fs::path path = PrivateHome::current().root() / "helper.lock";
};

using Kinds = ::testing::Types<FakeThisProcess, LinuxThisProcess>;
TYPED_TEST_SUITE(ThisProcessContract, Kinds);

std::string contentOf(const fs::path &path)
{
    std::ifstream in(path);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

/// The code of a failed try.
std::optional<ErrorCode> lockFailure(const fs::path &path)
{
    const auto lock = LinuxThisProcess().lockFile(path);
    return lock ? std::nullopt : std::optional(lock.failure().code);
}

} // namespace

TYPED_TEST(ThisProcessContract, lockFile_held_isBusyUntilItIsLetGo)
{
    auto lock = this->process.lockFile(this->path);
    ASSERT_TRUE(lock) << lock.failure().context;
    const auto second = this->process.lockFile(this->path);
    ASSERT_FALSE(second);
    EXPECT_EQ(second.failure().code, ErrorCode::Busy);
    EXPECT_TRUE(this->process.lockFile(this->path.native() + "2"));
    (*lock).reset();
    EXPECT_TRUE(this->process.lockFile(this->path));
}

TYPED_TEST(ThisProcessContract, replaceBy_programThatIsNotThere_answers)
{
    EXPECT_EQ(this->process.replaceBy("/nowhere/program", {"a"}).code, ErrorCode::NotFound);
}

TEST(LinuxThisProcess, lockFile_content_stays)
{
    const fs::path path = PrivateHome::current().root() / "lock";
    std::ofstream(path) << "precious";
    EXPECT_EQ(lockFailure(path), std::nullopt);
    EXPECT_EQ(contentOf(path), "precious");
}

TEST(LinuxThisProcess, lockFile_missing_isMadeForThisUserOnly)
{
    const fs::path path = PrivateHome::current().root() / "lock";
    EXPECT_EQ(lockFailure(path), std::nullopt);
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0600));
    EXPECT_EQ(lockFailure(path / "lock"), ErrorCode::NotFound);
    EXPECT_EQ(lockFailure("/nowhere/lock"), ErrorCode::NotFound);
}

TEST(LinuxThisProcess, lockFile_noRegularFile_isRefused)
{
    const fs::path root = PrivateHome::current().root();
    fs::create_symlink(root / "target", root / "link");
    fs::create_directory(root / "folder");
    ASSERT_EQ(::mkfifo((root / "pipe").c_str(), 0600), 0);
    for (const char *name : {"link", "folder", "pipe"})
        EXPECT_EQ(lockFailure(root / name), ErrorCode::NotSupported) << name;
    EXPECT_FALSE(fs::exists(root / "target"));
}

TEST(LinuxThisProcess, lockFile_holderIsKilled_isFree)
{
    const fs::path path = PrivateHome::current().root() / "lock";
    int ready[2] = {};
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        const auto lock = LinuxThisProcess().lockFile(path);
        [[maybe_unused]] const auto written = ::write(ready[1], lock ? "y" : "n", 1);
        ::pause();
        ::_exit(0);
    }
    char isLocked = 0;
    ASSERT_EQ(::read(ready[0], &isLocked, 1), 1);
    EXPECT_EQ(isLocked, 'y');
    EXPECT_EQ(lockFailure(path), ErrorCode::Busy);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    EXPECT_EQ(lockFailure(path), std::nullopt);
}

TEST(LinuxThisProcess, makeThreadIdle_oneThread_othersKeepTheirs)
{
    int policy = -1;
    long io = -1;
    std::thread([&] {
        const auto done = LinuxThisProcess().makeThreadIdle();
        EXPECT_TRUE(done) << done.failure().context;
        policy = ::sched_getscheduler(0);
        io = ::syscall(SYS_ioprio_get, 1, 0);
    }).join();
    EXPECT_EQ(policy, SCHED_IDLE);
    EXPECT_EQ(io >> 13, 3);
    EXPECT_EQ(::sched_getscheduler(0), SCHED_OTHER);
}

TEST(LinuxThisProcess, replaceBy_program_runsUnderTheSameNumberWithoutTheLocks)
{
    const fs::path root = PrivateHome::current().root();
    const pid_t child = ::fork();
    if (child == 0) {
        LinuxThisProcess process;
        const auto lock = process.lockFile(root / "lock");
        const Failure failure = process.replaceBy(
            "/bin/sh", {"-c", "flock -n \"$1\" true && echo $$ > \"$2\"", "sh", root / "lock", root / "number"});
        ::_exit(int(failure.code) + 100);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(contentOf(root / "number"), std::to_string(child) + '\n');
}

TEST(LinuxThisProcess, ignoreBrokenPipes_writingToAClosedOne_fails)
{
    LinuxThisProcess().ignoreBrokenPipes();
    int pipe[2] = {};
    ASSERT_EQ(::pipe(pipe), 0);
    ::close(pipe[0]);
    EXPECT_EQ(::write(pipe[1], "x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
}

#include "Tests/Classes/Shared/ExpansionOnVolume.h"

#include "Tests/Support/FileHolder.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/vfs.h>

// Other processes that have the file open while it is expanded, in every way there is.

static bool open(const Path &path, int flags)
{
    return ::open(path.c_str(), flags | O_CLOEXEC) >= 0;
}

static bool mapAndClose(const Path &path, int flags, int rights)
{
    const int file = ::open(path.c_str(), flags | O_CLOEXEC);
    return file >= 0 && ::mmap(nullptr, 4096, rights, MAP_SHARED, file, 0) != MAP_FAILED && ::close(file) == 0;
}

static bool becomeNobody()
{
    return ::setgid(65534) == 0 && ::setuid(65534) == 0;
}

namespace {

struct Holding
{
    std::string name;
    std::function<bool(const Path &)> take;
    bool isWriting;
};

} // namespace

static std::vector<Holding> holdings()
{
    std::vector<Holding> all = {
        {"read", [](const Path &path) { return open(path, O_RDONLY); }, false},
        {"written", [](const Path &path) { return open(path, O_WRONLY); }, true},
        {"appended to", [](const Path &path) { return open(path, O_WRONLY | O_APPEND); }, true},
        {"read and written", [](const Path &path) { return open(path, O_RDWR); }, true},
        {"named only", [](const Path &path) { return open(path, O_PATH); }, false},
        {"mapped for reading", [](const Path &path) { return mapAndClose(path, O_RDONLY, PROT_READ); }, false},
        {"in the working directory", [](const Path &path) { return ::chdir(path.parent_path().c_str()) == 0; }, false},
    };
    if (::geteuid() == 0)
        all.push_back(
            {"written by another user", [](const Path &path) { return open(path, O_WRONLY) && becomeNobody(); }, true});
    return all;
}

/// Who lays one volume over another sees no mapping whose descriptor is closed.
static bool isOverlay(const Path &folder)
{
    struct statfs volume = {};
    return ::statfs(folder.c_str(), &volume) == 0 && volume.f_type == OVERLAYFS_SUPER_MAGIC;
}

TEST_P(ExpansionOnVolume, holderOfTheFile_keepsItAsItIsOnlyWhereItWrites)
{
    std::vector<Holding> all = holdings();
    if (!isOverlay(m_folder))
        all.push_back({"mapped for writing",
                       [](const Path &path) { return mapAndClose(path, O_RDWR, PROT_READ | PROT_WRITE); }, true});
    for (const Holding &holding : all) {
        SCOPED_TRACE(holding.name);
        std::filesystem::remove(m_file);
        make();
        FileHolder holder([&] { return holding.take(m_file); });
        ASSERT_TRUE(holder.isHolding());
        EXPECT_EQ(expand(), !holding.isWriting) << m_outcome.reason;
        EXPECT_EQ(m_error.code, 0);
        EXPECT_FALSE(m_outcome.isFlagLeftCleared);
        if (!holding.isWriting) {
            EXPECT_EQ(contentOf(m_file), m_content);
            continue;
        }
        EXPECT_EQ(m_outcome.result, Outcome::BeingWritten);
        expectStillCompressed();
        holder.release();
        EXPECT_TRUE(expand()) << m_outcome.reason;
    }
    expectNoScratchFile();
}

TEST_P(ExpansionOnVolume, writerByAnotherName_keepsTheFileAsItIs)
{
    make();
    const Path other = m_folder / "other";
    std::filesystem::create_hard_link(m_file, other);
    FileHolder holder([&] { return open(other, O_WRONLY); });
    ASSERT_TRUE(holder.isHolding());
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_outcome.result, isFork(ForkPlace::Companion) ? Outcome::ForkShared : Outcome::BeingWritten);
    expectStillCompressed();
}

TEST_P(ExpansionOnVolume, writerWhomTheUserCannotSee_keepsTheFileAsItIs)
{
    if (::geteuid() != 0)
        return; // nobody else's processes to be had
    make();
    for (const Path &path : {m_file, companionOf(m_file), m_folder})
        (void)!::lchown(path.c_str(), 65534, 65534);
    letOthersIn();
    FileHolder writer([&] { return open(m_file, O_WRONLY); });
    ASSERT_TRUE(writer.isHolding());
    const auto expandAsNobody = [&] {
        return becomeNobody() && !expand() && m_outcome.result == Outcome::BeingWritten;
    };
    EXPECT_TRUE(FileHolder(expandAsNobody).isHolding());
    expectStillCompressed();
}

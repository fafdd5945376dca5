#include "Classes/Shared/FileCompression.h"

#include "Platform/Fake/FakeFileLeases.h"
#include "Tests/Support/BtrfsFixture.h"
#include "Tests/Support/FileHolder.h"

#include <gmock/gmock.h>

#include <csignal>
#include <ctime>
#include <functional>
#include <linux/fs.h>
#include <numeric>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/wait.h>

using ::testing::Eq;
using ::testing::Optional;

using Outcome = FileCompression::Outcome;
using Reason = FileCompression::Reason;

namespace {

/// What the system answers, but for the calls that write: before each of them somebody is asked.
class HookedCompression final : public TransparentCompression
{
public:
    using Hook = std::function<Result<void>()>;

    explicit HookedCompression(Hook hook)
        : m_hook(std::move(hook))
    {
    }

    Result<Ability> ability(const Path &folder) const override { return m_real.ability(folder); }
    Result<FolderState> turnOn(const Path &folder) override { return m_real.turnOn(folder); }
    Result<bool> isTurnedOn(const Path &folder) const override { return m_real.isTurnedOn(folder); }
    Result<bool> turnOff(const Path &folder) override { return m_real.turnOff(folder); }
    Result<std::unique_ptr<CompressibleFile>> open(const Path &path) const override
    {
        Result<std::unique_ptr<CompressibleFile>> file = m_real.open(path);
        if (!file)
            return file;
        return std::unique_ptr<CompressibleFile>(std::make_unique<File>(std::move(*file), m_hook));
    }

private:
    class File final : public CompressibleFile
    {
    public:
        File(std::unique_ptr<CompressibleFile> real, const Hook &hook)
            : m_real(std::move(real))
            , m_hook(hook)
        {
        }

        Result<FileStatus> status() const override { return m_real->status(); }
        ByteCount blockSize() const override { return m_real->blockSize(); }
        Result<Wish> wish() const override { return m_real->wish(); }
        Result<bool> isWrittenInPlace() const override { return m_real->isWrittenInPlace(); }
        Result<VolumeRoom> room() const override { return m_real->room(); }
        Result<std::vector<StoredExtent>> extentsFrom(ByteCount offset) const override
        {
            return m_real->extentsFrom(offset);
        }
        Result<std::size_t> readAt(ByteCount offset, std::span<std::uint8_t> buffer) const override
        {
            return m_real->readAt(offset, buffer);
        }
        ByteCount stretchSize() const override { return m_real->stretchSize(); }
        ByteCount occupiedCompressed(ByteView stretch) const override { return m_real->occupiedCompressed(stretch); }
        Result<void> compress(ByteCount offset, ByteCount length) override
        {
            const Result<void> asked = m_hook();
            return asked ? m_real->compress(offset, length) : asked;
        }
        Result<void> writeAnew(ByteCount offset, ByteCount length) override
        {
            const Result<void> asked = m_hook();
            return asked ? m_real->writeAnew(offset, length) : asked;
        }

    private:
        const std::unique_ptr<CompressibleFile> m_real;
        const Hook &m_hook;
    };

    TransparentCompression &m_real = TransparentCompression::current();
    const Hook m_hook;
};

} // namespace

/// Over real files, with the services of the system, and no file too young.
class FileCompressionTest : public BtrfsFixture
{
protected:
    Outcome compress(std::stop_token stop = {})
    {
        FileCompression::Request request;
        request.path = m_file;
        request.status = *FileSystem::current().status(m_file);
        request.limits = m_limits;
        request.now = std::time(nullptr);
        request.stop = std::move(stop);
        return FileCompression(std::move(request)).run();
    }
    std::vector<StoredExtent> extents() const
    {
        return *(*TransparentCompression::current().open(m_file))->extentsFrom(0);
    }
    /// How much of the file is in compressed extents.
    ByteCount compressedContent() const
    {
        const std::vector<StoredExtent> all = extents();
        return std::accumulate(all.begin(), all.end(), ByteCount(0), [](ByteCount sum, const StoredExtent &extent) {
            return sum + (extent.isCompressed ? extent.length : 0);
        });
    }
    /// 128 KiB each of text and of what nothing makes smaller, by turns.
    static Bytes mixed(int pairs)
    {
        Bytes content;
        for (int pair = 0; pair < pairs; ++pair) {
            const Bytes text = CompressedSample::text(131072), noise = noiseOf(131072);
            content.insert(content.end(), noise.begin(), noise.end());
            content.insert(content.end(), text.begin(), text.end());
        }
        return content;
    }

    CompressionFacts::Limits m_limits{std::chrono::seconds(0), 5};
    const Path m_file = m_folder / "file";
};

TEST_F(FileCompressionTest, text_isCompressedAndTheSameAsBefore)
{
    write(m_file, CompressedSample::text(1000000));
    setAttribute(m_file, "user.own", "value");
    const timespec times[2] = {{1000000, 5}, {2000000, 7}};
    ASSERT_EQ(::utimensat(AT_FDCWD, m_file.c_str(), times, 0), 0);
    ASSERT_EQ(::chmod(m_file.c_str(), 0640), 0);
    const std::string before = everythingOf(m_file);

    const Outcome outcome = compress();
    EXPECT_EQ(outcome.leftAlone, std::nullopt);
    EXPECT_FALSE(outcome.failure);
    EXPECT_EQ(outcome.rewritten, 1000000u);
    EXPECT_GT(outcome.savings, 500000u);
    EXPECT_GE(compressedContent(), 1000000u);
    EXPECT_TRUE(everythingOf(m_file) == before);

    const Outcome again = compress();
    EXPECT_THAT(again.leftAlone, Optional(Eq(Reason::AlreadyCompressed)));
    EXPECT_EQ(again.rewritten, 0u);
    EXPECT_EQ(again.savings, outcome.savings);
    EXPECT_TRUE(everythingOf(m_file) == before);
}

TEST_F(FileCompressionTest, fileOfTextAndNoise_theTextIsCompressedAndNoMarkLeft)
{
    write(m_file, mixed(4));
    const std::string before = everythingOf(m_file);
    const Outcome outcome = compress();
    EXPECT_FALSE(outcome.failure);
    EXPECT_EQ(compressedContent(), 4u * 131072);
    EXPECT_TRUE(everythingOf(m_file) == before);
    EXPECT_EQ(*(*TransparentCompression::current().open(m_file))->wish(), CompressibleFile::Wish::None);
    EXPECT_THAT(compress().leftAlone, Optional(Eq(Reason::DoesNotShrink)));
    EXPECT_EQ(compress().savings, outcome.savings);
}

TEST_F(FileCompressionTest, noise_isNotWrittenAnew)
{
    write(m_file, noiseOf(1000000));
    const Outcome outcome = compress();
    EXPECT_THAT(outcome.leftAlone, Optional(Eq(Reason::DoesNotShrink)));
    EXPECT_EQ(outcome.savings, 0u);
    EXPECT_EQ(*(*TransparentCompression::current().open(m_file))->wish(), CompressibleFile::Wish::None);
}

TEST_F(FileCompressionTest, fileWithHoles_keepsThemAndTheyCountAsNothing)
{
    const Bytes text = CompressedSample::text(262144);
    write(m_file, text);
    const Descriptor opened(::open(m_file.c_str(), O_WRONLY | O_CLOEXEC));
    ASSERT_EQ(::pwrite(opened.get(), text.data(), text.size(), 10 << 20), ssize_t(text.size()));
    ASSERT_EQ(::ftruncate(opened.get(), 100 << 20), 0);
    ASSERT_EQ(::fsync(opened.get()), 0);
    const std::string before = everythingOf(m_file);
    const Outcome outcome = compress();
    EXPECT_EQ(outcome.rewritten, 2u * 262144);
    EXPECT_LT(outcome.savings, 2u * 262144);
    EXPECT_EQ(compressedContent(), 2u * 262144);
    EXPECT_TRUE(everythingOf(m_file) == before);
}

TEST_F(FileCompressionTest, whatSpeaksAgainstIt_leavesTheFileAlone)
{
    const Bytes text = CompressedSample::text(300000);
    const auto leaves = [&](Reason reason) {
        const std::string before = everythingOf(m_file);
        EXPECT_THAT(compress().leftAlone, Optional(Eq(reason))) << CompressionFacts::nameOf(reason);
        EXPECT_EQ(compressedContent(), 0u) << CompressionFacts::nameOf(reason);
        EXPECT_TRUE(everythingOf(m_file) == before) << CompressionFacts::nameOf(reason);
    };
    write(m_file, CompressedSample::text(4096));
    leaves(Reason::TooSmall);
    write(m_file, text);
    m_limits.youth = std::chrono::hours(1);
    leaves(Reason::Young);
    m_limits = {std::chrono::seconds(0), 100};
    leaves(Reason::NearlyFull);
    m_limits.percentFree = 5;
    setAttribute(m_file, kProperty, "none");
    leaves(Reason::SwitchedOff);
    ASSERT_EQ(::removexattr(m_file.c_str(), kProperty), 0);
    ASSERT_EQ(::chmod(m_file.c_str(), 0444), 0);
    leaves(Reason::NotWritable);
}

TEST_F(FileCompressionTest, fileSharedWithACopy_staysShared)
{
    write(m_file, CompressedSample::text(300000));
    const Descriptor from(::open(m_file.c_str(), O_RDONLY | O_CLOEXEC));
    const Descriptor to(::open((m_folder / "copy").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    ASSERT_EQ(::ioctl(to.get(), FICLONE, from.get()), 0);
    ASSERT_EQ(::fsync(to.get()), 0);
    EXPECT_THAT(compress().leftAlone, Optional(Eq(Reason::Shared)));
    EXPECT_TRUE(extents().front().isShared);
}

TEST_F(FileCompressionTest, sharedCompressedFile_savesNothing)
{
    write(m_file, CompressedSample::text(300000));
    ASSERT_GT(compress().savings, 0u);
    const Descriptor from(::open(m_file.c_str(), O_RDONLY | O_CLOEXEC));
    const Descriptor to(::open((m_folder / "copy").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    ASSERT_EQ(::ioctl(to.get(), FICLONE, from.get()), 0);
    ASSERT_EQ(::fsync(to.get()), 0);
    EXPECT_EQ(compress().savings, 0u);
}

TEST_F(FileCompressionTest, fileOpenForWriting_isLeftAloneUntilItIsClosed)
{
    write(m_file, CompressedSample::text(300000));
    const std::string name = m_file.native();
    {
        FileHolder writer([&name] { return ::open(name.c_str(), O_RDWR) >= 0; });
        ASSERT_TRUE(writer.isHolding());
        EXPECT_THAT(compress().leftAlone, Optional(Eq(Reason::BeingWritten)));
    }
    {
        FileHolder mapper([&name] {
            const int file = ::open(name.c_str(), O_RDWR);
            void *const mapped = ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
            return mapped != MAP_FAILED && ::close(file) == 0;
        });
        ASSERT_TRUE(mapper.isHolding());
        EXPECT_THAT(compress().leftAlone, Optional(Eq(Reason::BeingWritten)));
    }
    FileHolder reader([&name] { return ::open(name.c_str(), O_RDONLY) >= 0; });
    ASSERT_TRUE(reader.isHolding());
    EXPECT_EQ(compress().leftAlone, std::nullopt);
}

TEST_F(FileCompressionTest, stopAskedBefore_changesNothing)
{
    write(m_file, CompressedSample::text(300000));
    std::stop_source stop;
    stop.request_stop();
    const Outcome outcome = compress(stop.get_token());
    EXPECT_TRUE(outcome.isStopped);
    EXPECT_EQ(outcome.rewritten, 0u);
    EXPECT_EQ(compressedContent(), 0u);
}

TEST_F(FileCompressionTest, otherFileThanTheOneThatWasMet_isRefused)
{
    write(m_file, CompressedSample::text(300000));
    FileCompression::Request request;
    request.path = m_file;
    request.status = *FileSystem::current().status(m_file);
    request.limits = m_limits;
    request.now = std::time(nullptr);
    write(m_folder / "other", CompressedSample::text(300000));
    std::filesystem::rename(m_folder / "other", m_file);
    const Outcome outcome = FileCompression(std::move(request)).run();
    ASSERT_TRUE(outcome.failure);
    EXPECT_EQ(outcome.failure->code, ErrorCode::Busy);
    EXPECT_EQ(compressedContent(), 0u);
}

TEST_F(FileCompressionTest, youngFileThatIsCompressed_countsAsItIs)
{
    write(m_file, CompressedSample::text(300000));
    const ByteCount savings = compress().savings;
    m_limits.youth = std::chrono::hours(1);
    const Outcome outcome = compress();
    EXPECT_THAT(outcome.leftAlone, Optional(Eq(Reason::Young)));
    EXPECT_EQ(outcome.savings, savings);
}

TEST_F(FileCompressionTest, largeFileThatWasCompressedBefore_isReckonedFromAPart)
{
    write(m_file, CompressedSample::text(30 << 20));
    const Outcome first = compress();
    ASSERT_EQ(first.rewritten, ByteCount(30 << 20));
    const Outcome again = compress();
    EXPECT_NEAR(double(again.savings), double(first.savings), double(first.savings) * 0.02);
}

TEST_F(FileCompressionTest, anyCallThatFails_isToldAndTheFileIsTheSame)
{
    for (int failing = 0;; ++failing) {
        ASSERT_LT(failing, 100);
        write(m_file, mixed(8));
        const std::string before = everythingOf(m_file);
        int calls = 0;
        HookedCompression hooked([&]() -> Result<void> {
            return calls++ == failing ? Failure{ErrorCode::NoSpace, ENOSPC, "no space"} : Result<void>();
        });
        const Override<TransparentCompression> override(hooked);
        const Outcome outcome = compress();
        ASSERT_TRUE(everythingOf(m_file) == before) << "changed when call " << failing << " failed";
        if (!outcome.failure)
            break;
        EXPECT_EQ(outcome.failure->code, ErrorCode::NoSpace);
        EXPECT_EQ(calls, failing + 1) << "it did not end at once";
    }
}

TEST_F(FileCompressionTest, writerWhoComesMeanwhile_waitsForOneCallAtMost)
{
    write(m_file, CompressedSample::text(5 << 20));
    const std::string before = everythingOf(m_file);
    FakeFileLeases leases;
    const Override<FileLeases> overrideLeases(leases);
    int calls = 0;
    HookedCompression hooked([&]() -> Result<void> {
        if (++calls == 2)
            leases.setWritten(FileSystem::current().status(m_file)->identity);
        return {};
    });
    const Override<TransparentCompression> override(hooked);
    const Outcome outcome = compress();
    EXPECT_THAT(outcome.leftAlone, Optional(Eq(Reason::BeingWritten)));
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(leases.count(), 0u);
    EXPECT_EQ(compressedContent(), 2u << 20);
    EXPECT_GT(outcome.savings, 0u) << "of what was compressed by then";
    EXPECT_TRUE(everythingOf(m_file) == before);
}

TEST_F(FileCompressionTest, stopAskedMeanwhile_endsAfterOneCall)
{
    write(m_file, CompressedSample::text(5 << 20));
    std::stop_source stop;
    HookedCompression hooked([&]() -> Result<void> {
        stop.request_stop();
        return {};
    });
    const Override<TransparentCompression> override(hooked);
    EXPECT_TRUE(compress(stop.get_token()).isStopped);
    EXPECT_EQ(compressedContent(), 1u << 20);
}

TEST_F(FileCompressionTest, processKilledInTheMiddle_everyFileIsWhole)
{
    constexpr int kFiles = 12;
    std::vector<std::string> before;
    for (int number = 0; number < kFiles; ++number) {
        const Path file = m_folder / std::to_string(number);
        write(file, number % 2 ? mixed(6) : CompressedSample::text(1500000));
        before.push_back(everythingOf(file));
    }
    for (int beginning = 1; beginning <= kFiles; beginning += 3) { // the file with which it is killed
        int progress[2];
        ASSERT_EQ(::pipe(progress), 0);
        const pid_t worker = ::fork();
        ASSERT_GE(worker, 0);
        if (worker == 0) {
            for (int number = 0; number < kFiles; ++number) {
                (void)!::write(progress[1], "", 1);
                FileCompression::Request request;
                request.path = m_folder / std::to_string(number);
                request.status = *FileSystem::current().status(request.path);
                request.limits = m_limits;
                (void)FileCompression(std::move(request)).run();
            }
            ::_exit(0);
        }
        ::close(progress[1]);
        char told = 0;
        for (int begun = 0; begun < beginning; ++begun)
            EXPECT_EQ(::read(progress[0], &told, 1), 1);
        ::kill(worker, SIGKILL);
        ::waitpid(worker, nullptr, 0);
        ::close(progress[0]);
        for (int number = 0; number < kFiles; ++number)
            EXPECT_TRUE(everythingOf(m_folder / std::to_string(number)) == before[std::size_t(number)]) << number;
    }
}

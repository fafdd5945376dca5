#include "Classes/Shared/DVFileUsage.h"
#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/Fake/FakeProcesses.h"

#include <gtest/gtest.h>

using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

static bool operator==(const FileUsageRecord &one, const FileUsageRecord &other)
{
    return one.pid == other.pid && one.mode == other.mode;
}

static void PrintTo(const FileUsageRecord &record, std::ostream *stream)
{
    *stream << record.pid << ":" << record.mode;
}

namespace {

constexpr std::uint32_t kReading = Processes::kReading;
constexpr std::uint32_t kWriting = Processes::kWriting;

class FusageTest : public ::testing::Test
{
protected:
    FusageTest()
    {
        for (const char *const name : {"/file", "/folder/other"})
            files.addFile(name);
        processes.id = newId();
    }

    /// One that no other test has: the lists outlive a test.
    static std::int32_t newId()
    {
        static std::int32_t s_last = 100;
        return ++s_last;
    }
    FileIdentity identity(const Path &path) const { return files.status(path, Links::NotFollow)->identity; }

    /// Adds a process that has "/file" open with the given flags, one descriptor each. Answers its id.
    std::int32_t add(const std::vector<std::uint32_t> &flags, std::int32_t id = newId())
    {
        FakeProcesses::Process process{id, identity("/"), {{3, identity("/folder/other"), kWriting}}};
        for (const std::uint32_t each : flags)
            process.open.push_back({4, identity("/file"), each});
        processes.processes.push_back(process);
        return id;
    }

    std::vector<FileUsageRecord> users(const char *path = "/file") const
    {
        std::uint32_t count = 99;
        const FileUsageRecord *const records = get_fusage(path, &count);
        EXPECT_NE(records, nullptr);
        return records ? std::vector(records, records + count) : std::vector<FileUsageRecord>{{-1, 0}};
    }

    FakeFileSystem files;
    FakeProcesses processes;

private:
    Override<FileSystem> m_files{files};
    Override<Processes> m_processes{processes};
};

} // namespace

TEST_F(FusageTest, get_pid_list_processes_areListed)
{
    const std::int32_t one = add({}), two = add({});
    std::uint32_t count = 0;
    const std::int32_t *const pids = get_pid_list(&count);
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(pids[0], one);
    EXPECT_EQ(pids[1], two);
    EXPECT_EQ(get_pid_list(nullptr), pids);
}

TEST_F(FusageTest, get_pid_list_failure_isToldAndLeavesTheCount)
{
    std::uint32_t count = 7;
    processes.failures.failCall(0, ErrorCode::NoSpace);
    CaptureStderr();
    EXPECT_EQ(get_pid_list(&count), nullptr);
    EXPECT_EQ(GetCapturedStderr(), "Not enough memory to read process list!\n");
    processes.failures.failCall(0, ErrorCode::Io);
    CaptureStderr();
    EXPECT_EQ(get_pid_list(&count), nullptr);
    EXPECT_EQ(GetCapturedStderr(), "Could not read process list.\n");
    EXPECT_EQ(count, 7u);
}

TEST_F(FusageTest, get_pid_list_for_path_areItsUsers)
{
    add({});
    const std::int32_t user = add({kReading});
    std::uint32_t count = 0;
    const std::int32_t *const pids = get_pid_list_for("/file", &count);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(pids[0], user);
    CaptureStderr();
    EXPECT_EQ(get_pid_list_for("/missing", &count), nullptr);
    EXPECT_EQ(GetCapturedStderr(), "Could not read process list.\n");
}

TEST_F(FusageTest, get_fusage_eachWay_hasItsMode)
{
    add({});
    const std::int32_t reader = add({kReading}), writer = add({kWriting}), both = add({kReading | kWriting});
    EXPECT_EQ(users(), (std::vector<FileUsageRecord>{{reader, 0}, {writer, 1}, {both, 2}}));
}

TEST_F(FusageTest, get_fusage_workingDirectory_isTestedBeforeTheDescriptors)
{
    const std::int32_t resident = add({});
    processes.processes.back().workingDirectory = identity("/folder");
    processes.processes.back().open.push_back({5, identity("/folder"), kReading});
    EXPECT_EQ(users("/folder"), (std::vector<FileUsageRecord>{{resident, 65535}}));
    EXPECT_EQ(is_file_open_for_writing("/folder", nullptr, nullptr), 1);
}

TEST_F(FusageTest, get_fusage_severalDescriptors_firstOneCounts)
{
    const std::int32_t process = add({kReading, kWriting});
    EXPECT_EQ(users(), (std::vector<FileUsageRecord>{{process, 0}}));
    EXPECT_EQ(is_file_open_for_writing("/file", nullptr, nullptr), 0);
}

TEST_F(FusageTest, get_fusage_missingFile_isToldAndLeavesTheCount)
{
    std::uint32_t count = 7;
    CaptureStderr();
    EXPECT_EQ(get_fusage("/missing", &count), nullptr);
    EXPECT_EQ(GetCapturedStderr(), "File /missing does not exist.\n");
    EXPECT_EQ(count, 7u);
}

TEST_F(FusageTest, get_fusage_noProcessList_isNull)
{
    std::uint32_t count = 7;
    processes.failures.failCall(0, ErrorCode::Io);
    CaptureStderr();
    EXPECT_EQ(get_fusage("/file", &count), nullptr);
    EXPECT_EQ(GetCapturedStderr(), "Could not read process list.\n");
    EXPECT_EQ(count, 7u);
}

TEST_F(FusageTest, get_fusage_processThatCannotBeLookedAt_doesNotCount)
{
    add({kWriting});
    processes.processes.back().isAnothers = true;
    const std::int32_t reader = add({kReading});
    CaptureStderr();
    EXPECT_EQ(users(), (std::vector<FileUsageRecord>{{reader, 0}}));
    EXPECT_EQ(GetCapturedStderr(), "");
}

TEST_F(FusageTest, process_fds_descriptorsCannotBeListed_isTold)
{
    const std::int32_t process = add({kWriting});
    const FileStatus file = *files.status("/file", Links::NotFollow);
    std::uint32_t mode = 9;
    processes.failures.failCall(0, ErrorCode::Io);
    CaptureStderr();
    EXPECT_EQ(process_fds(process, &mode, file), 0);
    EXPECT_EQ(GetCapturedStderr(), "Could not get fds for process " + std::to_string(process) + "\n");
    processes.failures.failCall(0, ErrorCode::NotFound);
    CaptureStderr();
    EXPECT_EQ(process_fds(process, &mode, file), 0);
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_EQ(mode, 9u);
}

TEST_F(FusageTest, process_fds_descriptorClosedMeanwhile_isPassedOver)
{
    const std::int32_t process = add({kWriting, kReading | kWriting});
    processes.processes.back().open.back().number = 5;
    processes.failures.failCall(1, ErrorCode::NotFound); // the flags of the first
    std::uint32_t mode = 9;
    EXPECT_EQ(process_fds(process, &mode, *files.status("/file", Links::NotFollow)), 1);
    EXPECT_EQ(mode, 2u);
}

TEST_F(FusageTest, process_vnodes_otherFile_isNo)
{
    const std::int32_t process = add({});
    std::uint32_t mode = 9;
    EXPECT_EQ(process_vnodes(process, &mode, *files.status("/folder", Links::NotFollow)), 0);
    EXPECT_EQ(mode, 9u);
    EXPECT_EQ(process_vnodes(process, &mode, *files.status("/", Links::NotFollow)), 1);
    EXPECT_EQ(mode, 65535u);
}

TEST_F(FusageTest, get_fusage_fewerProcessesThanBefore_goesThroughTheOldEndAgain)
{
    for (int count = 0; count < 50; ++count)
        add({});
    const std::int32_t last = add({kReading});
    EXPECT_EQ(users(), (std::vector<FileUsageRecord>{{last, 0}}));
    processes.processes.erase(processes.processes.begin());
    EXPECT_EQ(users(), (std::vector<FileUsageRecord>{{last, 0}, {last, 0}})) << "it moved up, and its old place stayed";
}

TEST_F(FusageTest, get_fusage_secondCall_usesTheSameMemory)
{
    add({kReading});
    std::uint32_t count = 0;
    const FileUsageRecord *const records = get_fusage("/file", &count);
    const std::int32_t *const pids = get_pid_list(nullptr);
    EXPECT_EQ(get_fusage("/file", &count), records);
    EXPECT_EQ(get_pid_list(nullptr), pids);
}

TEST_F(FusageTest, is_file_open_for_writing_records_areHandedOut)
{
    const std::int32_t reader = add({kReading});
    const FileUsageRecord *records = nullptr;
    std::uint32_t count = 0;
    EXPECT_EQ(is_file_open_for_writing("/file", &records, &count), 0);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(records[0], (FileUsageRecord{reader, 0}));
    add({kWriting});
    EXPECT_EQ(is_file_open_for_writing("/file", nullptr, nullptr), 1);
    CaptureStderr();
    EXPECT_EQ(is_file_open_for_writing("/missing", &records, &count), 0);
    EXPECT_EQ(GetCapturedStderr(), "File /missing does not exist.\n");
    EXPECT_EQ(records, nullptr);
    EXPECT_EQ(count, 0u);
}

TEST_F(FusageTest, isFileOpen_nobody_isNo)
{
    bool forWriting = true;
    add({});
    EXPECT_FALSE(DVFileUsage::isFileOpen("/file"));
    EXPECT_FALSE(DVFileUsage::isFileOpen("/file", true));
    EXPECT_FALSE(DVFileUsage::isFileOpen("/file", &forWriting));
    EXPECT_FALSE(forWriting);
}

TEST_F(FusageTest, isFileOpen_ownProcessAlone_isLeftOutWhereAskedFor)
{
    add({kWriting}, processes.id);
    bool forWriting = false;
    EXPECT_TRUE(DVFileUsage::isFileOpen("/file"));
    EXPECT_FALSE(DVFileUsage::isFileOpen("/file", true));
    EXPECT_TRUE(DVFileUsage::isFileOpen("/file", &forWriting));
    EXPECT_TRUE(forWriting);
    EXPECT_TRUE(DVFileUsage::isFileOpen("/file", &forWriting, true)) << "only writing leaves it out";
    EXPECT_FALSE(forWriting);
}

TEST_F(FusageTest, isFileOpen_ownAndOthers_othersCount)
{
    add({kWriting}, processes.id);
    add({kReading});
    bool forWriting = true;
    EXPECT_TRUE(DVFileUsage::isFileOpen("/file", true));
    EXPECT_TRUE(DVFileUsage::isFileOpen("/file", &forWriting, true));
    EXPECT_FALSE(forWriting);
    add({kWriting});
    EXPECT_TRUE(DVFileUsage::isFileOpen("/file", &forWriting, true));
    EXPECT_TRUE(forWriting);
}

TEST_F(FusageTest, isFileOpen_missingFile_isNo)
{
    bool forWriting = true;
    CaptureStderr();
    EXPECT_FALSE(DVFileUsage::isFileOpen("/missing", &forWriting, true));
    EXPECT_FALSE(forWriting);
    GetCapturedStderr();
}

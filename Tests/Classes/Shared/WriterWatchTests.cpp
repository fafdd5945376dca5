#include "Classes/Shared/WriterWatch.h"

#include "Platform/Fake/FakeFileLeases.h"
#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/Fake/FakeProcesses.h"

#include <gmock/gmock.h>

/// Who is asked whether a file is written, and who is believed.
class WriterWatchTest : public ::testing::Test
{
protected:
    WriterWatchTest()
    {
        m_files.addFile("/file");
        m_files.addFile("/other");
        m_file = m_files.status("/file", Links::NotFollow)->identity;
        m_processes.id = 100;
    }
    bool mayReplace() { return WriterWatch("/file", m_file).mayReplace(); }
    void addUser(std::int32_t id, std::uint32_t flags)
    {
        m_processes.processes.push_back({id, {}, {{3, m_file, flags}}});
    }

    FakeFileSystem m_files;
    FakeFileLeases m_leases;
    FakeProcesses m_processes;
    Override<FileSystem> m_filesInPlace{m_files};
    Override<FileLeases> m_leasesInPlace{m_leases};
    Override<Processes> m_processesInPlace{m_processes};
    FileIdentity m_file;
};

TEST_F(WriterWatchTest, grantedLease_isBelievedWithoutLookingAtProcesses)
{
    addUser(7, Processes::kWriting);
    EXPECT_TRUE(mayReplace());
    EXPECT_EQ(m_processes.failures.calls(), 0);
}

TEST_F(WriterWatchTest, lease_isHeldAsLongAsTheWatch)
{
    {
        const WriterWatch watch("/file", m_file);
        EXPECT_EQ(m_leases.count(), 1u);
    }
    EXPECT_EQ(m_leases.count(), 0u);
}

TEST_F(WriterWatchTest, leaseBrokenMeanwhile_meansNo)
{
    const WriterWatch watch("/file", m_file);
    EXPECT_TRUE(watch.mayReplace());
    m_leases.setWritten(m_file);
    EXPECT_FALSE(watch.mayReplace());
}

TEST_F(WriterWatchTest, leaseOnAnotherFile_meansNo)
{
    EXPECT_FALSE(WriterWatch("/other", m_file).mayReplace());
}

TEST_F(WriterWatchTest, refusedLease_withAWriterInSight_meansNo)
{
    m_leases.setWritten(m_file);
    addUser(7, Processes::kReading | Processes::kWriting);
    EXPECT_FALSE(mayReplace());
}

TEST_F(WriterWatchTest, refusedLease_withNobodyInSight_meansSomebodyUnseen)
{
    m_leases.setWritten(m_file);
    addUser(7, Processes::kReading);
    EXPECT_FALSE(mayReplace());
}

TEST_F(WriterWatchTest, refusedLease_becauseOfThisProcessAlone_isNoHindrance)
{
    m_leases.setWritten(m_file);
    addUser(100, Processes::kWriting);
    EXPECT_TRUE(mayReplace());
    addUser(7, Processes::kWriting);
    EXPECT_FALSE(mayReplace());
}

TEST_F(WriterWatchTest, withoutLeases_theProcessesDecide)
{
    for (const ErrorCode code : {ErrorCode::NotSupported, ErrorCode::Permission, ErrorCode::Io}) {
        m_leases.failures.failCall(0, code);
        EXPECT_TRUE(mayReplace());
        addUser(7, Processes::kReading);
        m_leases.failures.failCall(0, code);
        EXPECT_TRUE(mayReplace());
        addUser(8, Processes::kWriting);
        m_leases.failures.failCall(0, code);
        EXPECT_FALSE(mayReplace());
        m_processes.processes.clear();
    }
}

#include "Platform/Formats/CompressedFile.h"
#include "Platform/Linux/LinuxFileSystem.h"
#include "Tests/Platform/Linux/FailingCalls.h"
#include "Tests/Support/CompressedSample.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstring>
#include <fstream>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// What writes, with each of its system calls failing once, in each of the ways in which a disk fails.
class LinuxFileSystemFaultTest : public ::testing::TestWithParam<int>
{
protected:
    /// Runs `operation` until it meets no failure any more; `check` is called after each run, with whether it was done.
    void loop(const std::function<Result<void>()> &operation, const std::function<void(bool isDone)> &check)
    {
        loop(operation, check, GetParam());
    }
    void loop(const std::function<Result<void>()> &operation, const std::function<void(bool isDone)> &check, int error)
    {
        for (int failing = 0;; ++failing) {
            SCOPED_TRACE("call " + std::to_string(failing) + " fails");
            FailingCalls::fail(failing, error);
            const Result<void> done = operation();
            const int calls = FailingCalls::stop();
            check(bool(done));
            if (HasFatalFailure())
                return;
            if (failing >= calls) {
                EXPECT_TRUE(done);
                EXPECT_GE(calls, 3) << "nothing was made to fail";
                return;
            }
        }
    }
    std::string contentOf(const Path &path) const
    {
        const Result<Bytes> content = m_files.readFile(path, 1 << 20);
        return content ? stringOf(*content) : "none";
    }
    std::vector<std::string> names() const { return *m_files.entries(m_folder); }

    LinuxFileSystem m_linux;
    FileSystem &m_files = m_linux;
    Path m_folder = PrivateHome::current().makeFolder("faults");
    Path m_file = m_folder / "file";
};

TEST_P(LinuxFileSystemFaultTest, replaceFile_leavesTheOldOrTheNewOne)
{
    const auto makeOld = [&] { std::ofstream(m_file, std::ios::trunc) << "old"; };
    const auto replace = [&] { return m_files.replaceFile(m_file, bytesOf("new")); };
    makeOld();
    int done = 0;
    loop(replace, [&](bool isDone) {
        // Once the folder's sync is reached the new file stands already, whatever the sync answers.
        const std::string content = contentOf(m_file);
        ASSERT_TRUE(content == "new" || (content == "old" && !isDone)) << content;
        ASSERT_THAT(names(), ElementsAre("file"));
        done += content == "new";
        makeOld();
    });
    EXPECT_GE(done, 2) << "the run without a failure, and the one whose folder was not synced";
}

TEST_P(LinuxFileSystemFaultTest, replaceFileKeepingOld_neverLosesTheOldFile)
{
    const Path kept = m_folder / "kept";
    const auto makeOld = [&] {
        std::filesystem::remove(kept);
        std::ofstream(m_file, std::ios::trunc) << "old";
    };
    makeOld();
    for (const int error : {GetParam(), EINVAL}) {
        int done = 0;
        loop([&] { return m_files.replaceFileKeepingOld(m_file, bytesOf("new"), kept); },
             [&](bool isDone) {
                 const bool isReplaced = contentOf(m_file) == "new";
                 ASSERT_EQ(contentOf(isReplaced ? kept : m_file), "old");
                 ASSERT_TRUE(isReplaced || !isDone);
                 ASSERT_EQ(names().size(), isReplaced ? 2u : 1u) << "nothing is left of what failed";
                 done += isDone;
                 makeOld();
             },
             error);
        // With EINVAL a volume says that it cannot move without replacing, or not exchange, or not sync a folder.
        EXPECT_GE(done, error == EINVAL ? 4 : 1);
    }
}

TEST_P(LinuxFileSystemFaultTest, createFile_leavesNothingOrTheWholeFile)
{
    const auto create = [&] {
        std::filesystem::remove(m_file);
        return m_files.createFile(m_file, bytesOf("whole"));
    };
    loop(create, [&](bool isDone) {
        ASSERT_EQ(contentOf(m_file), isDone ? "whole" : "none");
        ASSERT_EQ(names().size(), isDone ? 1u : 0u);
    });
}

TEST_P(LinuxFileSystemFaultTest, largeAttribute_leavesTheOldOrTheNewValue)
{
    const Bytes old = CompressedSample::text(20000);
    const Bytes fresh = CompressedSample::text(30000);
    const auto set = [&] { return m_files.setAttribute(m_file, "name", fresh, Links::NotFollow); };
    std::ofstream(m_file).close();
    const std::string fork(5000, 'f');
    std::ofstream(m_folder / "._file", std::ios::binary) << stringOf(CompressedSample::companion(bytesOf(fork)));
    ASSERT_TRUE(m_files.setAttribute(m_file, "name", old, Links::NotFollow));
    loop(set, [&](bool isDone) {
        const Result<Bytes> value = m_files.attribute(m_file, "name", Links::NotFollow);
        ASSERT_TRUE(value);
        ASSERT_TRUE(*value == fresh || (*value == old && !isDone));
        ASSERT_TRUE(m_files.setAttribute(m_file, "name", old, Links::NotFollow));
        ASSERT_EQ((*m_files.openResourceFork(m_file))->size(), fork.size());
        ASSERT_THAT(names(), ElementsAre("._file", "file"));
    });
}

TEST_P(LinuxFileSystemFaultTest, createForkedFile_leavesNothingOrBothFiles)
{
    const Bytes content = CompressedSample::text(100000);
    const Bytes fork = CompressedSample::fork(content);
    FileStatus like;
    like.mode = 0644;
    const auto create = [&] {
        std::filesystem::remove(m_file);
        std::filesystem::remove(m_folder / "._file");
        return m_files.createForkedFile(
            m_file, {fork, {{kDecmpfsAttribute, CompressedSample::decmpfs(content.size())}}, kCompressedFlag, like});
    };
    loop(create, [&](bool isDone) {
        if (!isDone) {
            ASSERT_THAT(names(), IsEmpty());
            return;
        }
        ASSERT_THAT(names(), ElementsAre("._file", "file"));
        ASSERT_EQ(*m_files.logicalSize(m_file), content.size());
    });
}

INSTANTIATE_TEST_SUITE_P(, LinuxFileSystemFaultTest, ::testing::Values(ENOSPC, EACCES, EIO, EDQUOT),
                         [](const auto &each) { return std::string(::strerrorname_np(each.param)); });

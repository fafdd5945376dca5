#include "Platform/Linux/NewFile.h"

#include "Platform/Linux/LinuxFileSystem.h"
#include "Tests/Support/CompressedSample.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/FileHolder.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/file.h>
#include <thread>

using ::testing::ElementsAre;
using ::testing::SizeIs;

/// What becomes of files in the making when their makers are killed.
class NewFileTest : public ::testing::Test
{
protected:
    /// A process that has begun to make a file and gets no further.
    static FileHolder beginning(const Path &path)
    {
        return FileHolder([path] {
            static std::optional<NewFile> s_file;
            Result<NewFile> file = NewFile::beside(path, 0600);
            if (!file || !file->write(bytesOf("half")))
                return false;
            s_file.emplace(std::move(*file));
            return true;
        });
    }
    void beginAndBeKilled(const Path &path)
    {
        FileHolder maker = beginning(path);
        ASSERT_TRUE(maker.isHolding());
        maker.release();
    }
    std::vector<std::string> names() const { return *m_files.entries(m_folder); }
    std::string nameInTheMaking() const
    {
        for (const std::string &name : names()) {
            if (m_files.isNameInTheMaking(name))
                return name;
        }
        return "none";
    }

    LinuxFileSystem m_linux;
    FileSystem &m_files = m_linux;
    Path m_folder = PrivateHome::current().makeFolder("new-file");
    Path m_file = m_folder / "file";
};

TEST_F(NewFileTest, whatAKilledProcessLeft_isTakenAwayByTheNextWriteOfTheFile)
{
    beginAndBeKilled(m_file);
    ASSERT_THAT(names(), SizeIs(1));
    EXPECT_TRUE(m_files.isNameInTheMaking(names().front())) << names().front();
    ASSERT_TRUE(m_files.replaceFile(m_file, bytesOf("content")));
    EXPECT_THAT(names(), ElementsAre("file"));
    EXPECT_EQ(contentOf(m_file), "content");
}

TEST_F(NewFileTest, whatAKilledProcessLeft_isTakenAwayWithoutAWrite)
{
    writeFile(m_file, "content");
    beginAndBeKilled(m_file);
    beginAndBeKilled(m_folder / "._file");
    beginAndBeKilled(m_folder / "another");
    m_files.removeAbandonedPartsOf(m_file);
    EXPECT_THAT(names(), SizeIs(2)) << "the other file's stays";
    m_files.removeAbandoned(m_folder / nameInTheMaking());
    EXPECT_THAT(names(), ElementsAre("file"));
    EXPECT_EQ(contentOf(m_file), "content");
}

TEST_F(NewFileTest, fileOfALivingProcess_staysAndTheNextOneIsMadeBesideIt)
{
    FileHolder maker = beginning(m_file);
    ASSERT_TRUE(maker.isHolding());
    const std::string name = nameInTheMaking();
    ASSERT_TRUE(m_files.replaceFile(m_file, bytesOf("content")));
    m_files.removeAbandonedPartsOf(m_file);
    m_files.removeAbandoned(m_folder / name);
    EXPECT_THAT(names(), ElementsAre(name, "file"));
    EXPECT_EQ(contentOf(m_folder / name), "half");
    maker.release();
    m_files.removeAbandonedPartsOf(m_file);
    EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(NewFileTest, whatIsPlantedUnderTheName_isNeitherFollowedNorRemoved)
{
    beginAndBeKilled(m_file);
    const Path planted = m_folder / nameInTheMaking(), precious = m_folder / "precious";
    writeFile(precious, "precious");
    const std::vector<std::function<void()>> plants = {[&] { std::filesystem::create_symlink(precious, planted); },
                                                       [&] { std::filesystem::create_hard_link(precious, planted); },
                                                       [&] { std::filesystem::create_directory(planted); }};
    for (const auto &plant : plants) {
        std::filesystem::remove(planted);
        plant();
        ASSERT_TRUE(m_files.replaceFile(m_file, bytesOf("content")));
        m_files.removeAbandonedPartsOf(m_file);
        m_files.removeAbandoned(planted);
        EXPECT_THAT(names(), ElementsAre(planted.filename().native(), "file", "precious"));
        EXPECT_EQ(contentOf(precious), "precious");
    }
}

TEST_F(NewFileTest, name_ofAnotherForm_isNotOneInTheMaking)
{
    EXPECT_TRUE(NewFile::isName(".tamsel-0123456789abcdef.new"));
    for (const char *name :
         {"", ".tamsel-.new", ".tamsel-0123456789abcde.new", ".tamsel-0123456789abcdef0.new",
          ".tamsel-0123456789abcdeF.new", ".tamsel-0123456789abcdef.old", "tamsel-0123456789abcdef.new",
          ".tamsel-0123456789abcdef.newer", ".tamsel-0123456789abcde..new"})
        EXPECT_FALSE(NewFile::isName(name)) << name;
}

TEST_F(NewFileTest, fileInItsPlace_isNotLocked)
{
    Result<NewFile> made = NewFile::beside(m_file, 0600);
    ASSERT_TRUE(made);
    ASSERT_TRUE(made->replace());
    const Descriptor file(::open(m_file.c_str(), O_RDONLY));
    EXPECT_EQ(::flock(file.get(), LOCK_EX | LOCK_NB), 0);
}

TEST_F(NewFileTest, manyWritersOfOneFile_allWriteItAndLeaveNothing)
{
    std::vector<std::jthread> writers;
    std::atomic<int> failures = 0;
    for (int writer = 0; writer < 8; ++writer) {
        writers.emplace_back([&, writer] {
            const std::string content(1000, char('a' + writer));
            for (int round = 0; round < 25; ++round)
                failures += !m_files.replaceFile(m_file, bytesOf(content));
        });
    }
    writers.clear();
    EXPECT_EQ(failures, 0);
    EXPECT_THAT(names(), ElementsAre("file"));
    const std::string content = contentOf(m_file);
    EXPECT_EQ(content, std::string(1000, content.at(0)));
}

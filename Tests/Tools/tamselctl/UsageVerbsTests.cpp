#include "Tests/Support/PrivateHome.h"
#include "Tests/Tools/tamselctl/Tamselctl.h"

#include <gmock/gmock.h>

#include <fstream>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

class UsageVerbs : public ::testing::Test
{
protected:
    UsageVerbs() { std::ofstream(m_file) << "content"; }

    const std::filesystem::path m_folder = PrivateHome::current().makeFolder("usage");
    const std::string m_file = m_folder / "file";
    const std::string m_self = std::to_string(::getpid());
};

/// A descriptor of the test's own for the length of a scope; tamselctl does not inherit it.
class OpenFile final
{
public:
    OpenFile(const std::string &path, int flags)
        : m_descriptor(::open(path.c_str(), flags | O_CLOEXEC))
    {
        EXPECT_GE(m_descriptor, 0);
    }
    ~OpenFile() { ::close(m_descriptor); }
    OpenFile(const OpenFile &) = delete;
    OpenFile &operator=(const OpenFile &) = delete;

private:
    int m_descriptor;
};

} // namespace

TEST_F(UsageVerbs, users_nobody_isNoLineAndNoFailure)
{
    const Ended ended = tamselctl({"users", m_file});
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_THAT(ended.out, IsEmpty());
    EXPECT_THAT(ended.err, IsEmpty());
}

TEST_F(UsageVerbs, users_eachWay_isToldInWords)
{
    const std::pair<int, const char *> ways[] = {
        {O_RDONLY, "reading"}, {O_WRONLY, "writing"}, {O_RDWR, "reading and writing"}, {O_PATH, "reading"}};
    for (const auto &[flags, way] : ways) {
        const OpenFile open(m_file, flags);
        EXPECT_EQ(tamselctl({"users", m_file}).out, m_self + " " + way + "\n");
    }
}

TEST_F(UsageVerbs, users_json_hasTheRecord)
{
    const OpenFile open(m_file, O_RDWR);
    EXPECT_EQ(tamselctl({"users", m_file, "--json"}).out, "{\"pid\":" + m_self + ",\"mode\":2,\"isWriting\":true}\n");
}

TEST_F(UsageVerbs, users_workingDirectory_isToldWithItsMode)
{
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(m_folder);
    const Ended text = tamselctl({"users", m_folder});
    const Ended json = tamselctl({"users", m_folder, "--json"});
    std::filesystem::current_path(before);
    EXPECT_THAT(text.out, HasSubstr(m_self + " working directory\n"));
    EXPECT_THAT(json.out, HasSubstr("{\"pid\":" + m_self + ",\"mode\":65535,\"isWriting\":true}\n"));
}

TEST_F(UsageVerbs, isOpen_withAndWithoutAUser_isAnswered)
{
    EXPECT_EQ(tamselctl({"is-open", m_file}).out, "isOpen: no\n");
    const OpenFile open(m_file, O_RDONLY);
    EXPECT_EQ(tamselctl({"is-open", m_file}).out, "isOpen: yes\n");
    EXPECT_EQ(tamselctl({"is-open", m_file, "--writing"}).out, "isOpen: yes\nforWriting: no\n");
    const OpenFile other(m_folder / "second", O_RDWR | O_CREAT);
    EXPECT_EQ(tamselctl({"is-open", "--writing", "--json", m_folder / "second"}).out,
              "{\"isOpen\":true,\"forWriting\":true}\n");
}

TEST_F(UsageVerbs, isOpen_excludingOwn_leavesTheToolOut)
{
    const auto fromInside = [this](const QStringList &words) {
        QProcess tool; // is the only process in the folder
        tool.setWorkingDirectory(QString::fromStdString(m_folder));
        tool.start(QStringLiteral(TAMSELCTL), QStringList{QStringLiteral("is-open"), QStringLiteral(".")} + words);
        EXPECT_TRUE(tool.waitForFinished());
        return tool.readAllStandardOutput().toStdString();
    };
    const QString writing = QStringLiteral("--writing"), excluding = QStringLiteral("--excluding-own");
    EXPECT_EQ(fromInside({}), "isOpen: yes\n");
    EXPECT_EQ(fromInside({excluding}), "isOpen: no\n");
    EXPECT_EQ(fromInside({writing}), "isOpen: yes\nforWriting: yes\n");
    EXPECT_EQ(fromInside({writing, excluding}), "isOpen: yes\nforWriting: no\n");
}

TEST_F(UsageVerbs, missingFile_isAFailureThatIsSaidOnce)
{
    for (const char *const verb : {"users", "is-open"}) {
        const Ended ended = tamselctl({verb, m_folder / "missing"});
        EXPECT_EQ(ended.exitCode, 1) << verb;
        EXPECT_THAT(ended.out, IsEmpty());
        EXPECT_THAT(ended.err, HasSubstr("No such file or directory"));
        EXPECT_THAT(ended.err, ::testing::Not(HasSubstr("does not exist")));
    }
}

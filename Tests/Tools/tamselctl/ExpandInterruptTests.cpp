#include "Classes/Shared/HFSCompression.h"
#include "Platform/FileSystem.h"
#include "Platform/UserFolders.h"
#include "Tests/Support/CompressedSample.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/ForkParts.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WaitFor.h"
#include "Tests/Tools/tamselctl/Tamselctl.h"

#include <gmock/gmock.h>

#include <csignal>
#include <grp.h>
#include <unistd.h>

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

/// Expansions that are interrupted at the keyboard.
class ExpandInterrupt : public ::testing::Test
{
protected:
    ExpandInterrupt()
    {
        const gid_t group = ::getegid();
        // A root without groups owns files of a group that it is not in.
        if (::geteuid() == 0) {
            EXPECT_EQ(::setgroups(1, &group), 0);
        }
    }
    ~ExpandInterrupt() override { std::filesystem::remove_all(m_folder); }

    Path make(const std::string &name) const
    {
        CompressedSample::make(m_folder / name, CompressedSample::text(5000));
        return m_folder / name;
    }
    /// A file whose table has so many entries, of nothing, that no expansion comes to the end of it in a test's time.
    /// All of them are one hole.
    Path makeEndless() const
    {
        constexpr std::uint32_t kEntries = 500'000'000;
        const Path path = make("endless");
        Bytes head = ForkParts::fork({});
        ForkParts::putLittle(head, 260, kEntries);
        Bytes companion = CompressedSample::companion(head);
        const std::uint32_t length = 264 + kEntries * 8;
        for (std::size_t index = 0; index < 4; ++index)
            companion.at(34 + index) = std::uint8_t(length >> (8 * (3 - index)));
        writeFile(m_folder / "._endless", stringOf(companion));
        std::filesystem::resize_file(m_folder / "._endless", companion.size() - head.size() + length);
        return path;
    }
    static void expectNothingLeft(const Path &endless)
    {
        EXPECT_TRUE(HFSCompression::isFileUFCompressed(endless));
        EXPECT_THAT(FileSystem::current().entries(*UserFolders::current().temporary()).valueOr({"unreadable"}),
                    IsEmpty());
    }

    const Path m_folder = PrivateHome::current().makeFolder("files");
};

TEST_F(ExpandInterrupt, expand_cancelsAndSaysWhatIsDone)
{
    const Path first = make("first"), endless = makeEndless(), last = make("last");
    RunningTamselctl running({"expand", "--json", first.native(), endless.native(), last.native()});
    ASSERT_TRUE(running.waitForOutput("\"willExpand\",\"path\":\"" + endless.native()));
    running.send(SIGINT);
    const Ended ended = running.waitForEnd();
    EXPECT_EQ(ended.exitCode, 1);
    std::vector<std::string> events;
    const std::vector<QVariantMap> lines = jsonLines(ended.out);
    for (const QVariantMap &line : lines)
        events.push_back(line.value(QStringLiteral("event")).toString().toStdString());
    EXPECT_THAT(events, ::testing::ElementsAre("willExpand", "didExpand", "finished", "willExpand", "didExpand",
                                               "finished", "summary"));
    EXPECT_EQ(lines.at(4).value(QStringLiteral("result")), QStringLiteral("cancelled"));
    EXPECT_EQ(lines.at(4).value(QStringLiteral("isFlagLeftCleared")), false);
    EXPECT_EQ(lines.at(6).value(QStringLiteral("cancelled")), true);
    EXPECT_EQ(lines.at(6).value(QStringLiteral("expanded")).toInt(), 1);
    EXPECT_EQ(lines.at(6).value(QStringLiteral("bytes")).toInt(), 5000);
    EXPECT_EQ(std::filesystem::file_size(first), 5000u);
    EXPECT_EQ(std::filesystem::file_size(last), 0u) << "it is not to be begun";
    expectNothingLeft(endless);
}

TEST_F(ExpandInterrupt, expand_inWords_saysThatItWasCancelled)
{
    const Path first = make("first"), endless = makeEndless();
    RunningTamselctl running({"expand", first.native(), endless.native()});
    ASSERT_TRUE(running.waitForOutput("expanding " + endless.native() + "\n"));
    running.send(SIGINT);
    const Ended ended = running.waitForEnd();
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_THAT(ended.out, HasSubstr("cancelled\nexpanded: 1, 5000 bytes\n"));
    EXPECT_THAT(ended.out, Not(HasSubstr("repair")));
    expectNothingLeft(endless);
}

TEST_F(ExpandInterrupt, expandFile_cancelsAndLeavesTheFileAsItIs)
{
    const Path endless = makeEndless();
    RunningTamselctl running({"expand-file", "--json", endless.native()});
    ASSERT_TRUE(waitFor([&] { return !HFSCompression::isFileUFCompressed(endless); })) << "it has not begun";
    running.send(SIGINT);
    const Ended ended = running.waitForEnd();
    EXPECT_EQ(ended.exitCode, 1);
    const std::vector<QVariantMap> lines = jsonLines(ended.out);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].value(QStringLiteral("ok")), false);
    EXPECT_EQ(lines[0].value(QStringLiteral("reason")), QStringLiteral("cancelled"));
    EXPECT_EQ(lines[0].value(QStringLiteral("isFlagLeftCleared")), false);
    expectNothingLeft(endless);
}

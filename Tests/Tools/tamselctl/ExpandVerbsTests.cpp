#include "Tests/Support/CompressedSample.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"
#include "Tests/Tools/tamselctl/Tamselctl.h"

#include <gmock/gmock.h>

#include <grp.h>
#include <sys/xattr.h>

using ::testing::ElementsAre;
using ::testing::HasSubstr;

/// The verbs that change compressed files, over real ones.
class ExpandVerbs : public ::testing::Test
{
protected:
    ExpandVerbs()
    {
        const gid_t group = ::getegid();
        // A root without groups owns files of a group that it is not in.
        if (::geteuid() == 0) {
            EXPECT_EQ(::setgroups(1, &group), 0);
        }
    }
    Path make(const std::string &name, std::size_t size = 5000) const
    {
        std::filesystem::create_directories((m_folder / name).parent_path());
        CompressedSample::make(m_folder / name, CompressedSample::text(size));
        return m_folder / name;
    }
    void damage(const Path &path) const
    {
        std::fstream companion(path.parent_path() / ("._" + path.filename().native()),
                               std::ios::in | std::ios::out | std::ios::binary);
        companion.seekp(350);
        companion.write("damage", 6);
    }
    static std::string content(std::size_t size = 5000) { return stringOf(CompressedSample::text(size)); }

    const Path m_folder = PrivateHome::current().makeFolder("files");
};

TEST_F(ExpandVerbs, expand_saysWhatItDoesAndSumsItUp)
{
    const Path file = make("a/file"), broken = make("b/broken");
    make("small", 100);
    damage(broken);
    const Ended ended = tamselctl({"expand", "--json", m_folder.native()});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_EQ(contentOf(file), content());
    std::map<QString, QVariantMap> did;
    QVariantMap summary;
    QStringList events;
    for (const QVariantMap &line : jsonLines(ended.out)) {
        const QString event = line.value(QStringLiteral("event")).toString();
        events << event;
        if (event == QStringLiteral("didExpand"))
            did[line.value(QStringLiteral("path")).toString()] = line;
        if (event == QStringLiteral("summary"))
            summary = line;
    }
    EXPECT_EQ(events.count(QStringLiteral("willExpand")), 2);
    EXPECT_EQ(events.mid(events.size() - 2), QStringList({QStringLiteral("finished"), QStringLiteral("summary")}));
    EXPECT_EQ(did[QString::fromStdString(file.native())].value(QStringLiteral("result")), QStringLiteral("expanded"));
    EXPECT_EQ(did[QString::fromStdString(broken.native())].value(QStringLiteral("result")),
              QStringLiteral("blockDamaged"));
    EXPECT_EQ(summary.value(QStringLiteral("expanded")).toInt(), 1);
    EXPECT_EQ(summary.value(QStringLiteral("bytes")).toInt(), 5000);
    EXPECT_EQ(summary.value(QStringLiteral("failed")).toMap().value(QStringLiteral("blockDamaged")).toInt(), 1);
    EXPECT_GE(summary.value(QStringLiteral("leftAlone")).toMap().value(QStringLiteral("tooSmall")).toInt(), 1);
    EXPECT_EQ(summary.value(QStringLiteral("flagsLeftCleared")).toStringList(),
              QStringList(QString::fromStdString(broken.native())));
}

TEST_F(ExpandVerbs, expand_fileThatAKillLeftWithoutItsFlag_isNamed)
{
    const Path file = make("folder/file");
    ASSERT_EQ(::setxattr(file.c_str(), "user.tamsel.st_flags", "0", 1, 0), 0);
    const Ended ended = tamselctl({"expand", m_folder.native()});
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_THAT(ended.out, HasSubstr("left alone, flagCleared: 1\n"));
    EXPECT_THAT(ended.out, HasSubstr("to be mended by \"repair\": " + file.native() + "\n"));
    EXPECT_EQ(contentOf(file), "");
}

TEST_F(ExpandVerbs, expand_missingPath_failsAndDoesTheOthers)
{
    const Path file = make("file");
    const Ended ended = tamselctl({"expand", (m_folder / "none").native(), file.native()});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_THAT(ended.err, HasSubstr("none"));
    EXPECT_THAT(ended.out, HasSubstr("expanded: 1, 5000 bytes\n"));
    EXPECT_EQ(contentOf(file), content());
}

TEST_F(ExpandVerbs, expandFile_toAnotherPlace_leavesTheFileCompressed)
{
    const Path file = make("file");
    const Path other = m_folder / "other";
    const Ended ended = tamselctl({"expand-file", "--json", "--to", other.native(), file.native()});
    EXPECT_EQ(ended.exitCode, 0);
    const std::vector<QVariantMap> lines = jsonLines(ended.out);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].value(QStringLiteral("ok")), true);
    EXPECT_EQ(lines[0].value(QStringLiteral("bytes")).toInt(), 5000);
    EXPECT_EQ(contentOf(other), content());
    EXPECT_EQ(contentOf(file), "");
    EXPECT_EQ(tamselctl({"expand-file", file.native()}).exitCode, 0);
    EXPECT_EQ(contentOf(file), content());
}

TEST_F(ExpandVerbs, expandFile_failure_isToldWithDomainCodeAndMessage)
{
    const Path file = m_folder / "plain";
    writeFile(file, "plain");
    const Ended ended = tamselctl({"expand-file", "--json", file.native()});
    EXPECT_EQ(ended.exitCode, 1);
    const std::vector<QVariantMap> lines = jsonLines(ended.out);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].value(QStringLiteral("ok")), false);
    EXPECT_EQ(lines[0].value(QStringLiteral("domain")), QStringLiteral("com.dovrane.tamsel.hfs"));
    EXPECT_EQ(lines[0].value(QStringLiteral("code")).toInt(), 705);
    EXPECT_EQ(lines[0].value(QStringLiteral("message")).toString().toStdString(),
              "Source file is not compressed at " + file.native());
    EXPECT_THAT(tamselctl({"expand-file", file.native()}).err, HasSubstr("com.dovrane.tamsel.hfs 705: "));
}

TEST_F(ExpandVerbs, expandFile_ignoringTheFlag_expands)
{
    const Path file = make("file");
    ASSERT_EQ(::setxattr(file.c_str(), "user.tamsel.st_flags", "0", 1, 0), 0);
    EXPECT_EQ(tamselctl({"expand-file", file.native()}).exitCode, 1);
    EXPECT_EQ(tamselctl({"expand-file", "--ignore-compression-flag", file.native()}).exitCode, 0);
    EXPECT_EQ(contentOf(file), content());
}

TEST_F(ExpandVerbs, repair_makesASoundFileKnownAgain)
{
    const Path file = make("folder/file"), broken = make("folder/broken");
    writeFile(m_folder / "folder/plain", "plain");
    writeFile(m_folder / "folder/empty", "");
    damage(broken);
    for (const Path &each : {file, broken})
        ASSERT_EQ(::setxattr(each.c_str(), "user.tamsel.st_flags", "0", 1, 0), 0);
    const Ended ended = tamselctl({"repair", (m_folder / "folder").native()});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_EQ(ended.out, file.native() + ": repaired\n");
    EXPECT_THAT(ended.err, HasSubstr("broken: block 0"));
    EXPECT_EQ(tamselctl({"repair", file.native()}).out, file.native() + ": sound\n");
    EXPECT_EQ(tamselctl({"expand-file", file.native()}).exitCode, 0);
    EXPECT_EQ(tamselctl({"repair", (m_folder / "none").native()}).exitCode, 1);
}

TEST_F(ExpandVerbs, repair_goesWhereExpandGoes)
{
    PrivateMounts mounts;
    std::filesystem::create_directory(m_folder / "volume");
    if (!mounts.mountMemory(m_folder / "volume"))
        GTEST_SKIP() << "this machine gives a test no mounts of its own";
    const Path file = make("volume/file");
    ASSERT_EQ(::setxattr(file.c_str(), "user.tamsel.st_flags", "0", 1, 0), 0);
    EXPECT_EQ(tamselctl({"repair", m_folder.native()}).out, file.native() + ": repaired\n");
}

TEST_F(ExpandVerbs, attributes_areSetListedGotAndCopied)
{
    const std::string one = m_folder / "one", other = m_folder / "other";
    writeFile(one, "content");
    writeFile(other, "content");
    EXPECT_EQ(tamselctl({"attributes", "set", one, "name", "va\xFFlue"}).exitCode, 0);
    EXPECT_EQ(tamselctl({"attributes", "set", one, "skipped", "x"}).exitCode, 0);
    EXPECT_EQ(tamselctl({"attributes", "get", one, "name"}).out, "va\xFFlue");
    EXPECT_EQ(tamselctl({"attributes", "copy", "--skip", "SKIPPED", one, other}).exitCode, 0);
    EXPECT_EQ(tamselctl({"attributes", "list", other}).out, "name\n");
    EXPECT_EQ(tamselctl({"attributes", "get", other, "skipped"}).exitCode, 1);
    EXPECT_EQ(tamselctl({"attributes", "list", one + "-none"}).exitCode, 1);
    const Ended failed = tamselctl({"attributes", "set", one + "-none", "name", "x"});
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_THAT(failed.err, HasSubstr("com.dovrane.quillor.xattr 2"));
}

TEST_F(ExpandVerbs, attributes_ofALink_areTheTargetsUnlessItIsMeant)
{
    writeFile(m_folder / "target", "content");
    std::filesystem::create_symlink("target", m_folder / "link");
    const std::string link = m_folder / "link";
    EXPECT_EQ(tamselctl({"attributes", "set", link, "name", "value"}).exitCode, 0);
    EXPECT_EQ(tamselctl({"attributes", "list", link}).out, "name\n");
    EXPECT_EQ(tamselctl({"attributes", "list", "--no-follow", link}).out, "");
    EXPECT_EQ(tamselctl({"attributes", "set", "--no-follow", link, "name", "value"}).exitCode, 1);
}

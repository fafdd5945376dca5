#include "Classes/PrefPane/ExclusionPasteboard.h"

#include <QDir>
#include <QSysInfo>
#include <QUrl>

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

static QMimeData &filled(QMimeData &data, const char *text)
{
    data.setText(QString::fromUtf8(text));
    return data;
}

static std::vector<std::string> pathsIn(const char *text)
{
    QMimeData data;
    std::vector<std::string> paths;
    for (const QString &path : ExclusionPasteboard::pathsIn(filled(data, text)))
        paths.push_back(path.toStdString());
    return paths;
}

static std::vector<std::string> extensionsIn(const char *text)
{
    QMimeData data;
    std::vector<std::string> extensions;
    for (const QString &extension : ExclusionPasteboard::extensionsIn(filled(data, text)))
        extensions.push_back(extension.toStdString());
    return extensions;
}

TEST(ExclusionPasteboard, lines_areAbsolutePaths)
{
    EXPECT_THAT(pathsIn("/a b/c\r\n  /d/ \n\n/"), ElementsAre("/a b/c", "/d", "/"));
    EXPECT_THAT(pathsIn("\"/a b\"\n'/c'\nfile:///d%20e\n"), ElementsAre("/a b", "/c", "/d e"));
    EXPECT_THAT(pathsIn("~/x"), ElementsAre(QDir::homePath().toStdString() + "/x"));
}

TEST(ExclusionPasteboard, files_ofThisComputerByName_areItsPaths)
{
    const std::string named = "file://" + QSysInfo::machineHostName().toStdString() + "/b";
    EXPECT_THAT(pathsIn(("file://localhost/a\n" + named + "\nfile://elsewhere.example/c").c_str()),
                ElementsAre("/a", "/b"));
    QMimeData data;
    data.setUrls({QUrl(QStringLiteral("file://localhost/a/")), QUrl(QString::fromStdString(named)),
                  QUrl(QStringLiteral("file://elsewhere.example/c"))});
    EXPECT_EQ(ExclusionPasteboard::pathsIn(data), QStringList({QStringLiteral("/a"), QStringLiteral("/b")}));
}

TEST(ExclusionPasteboard, otherLines_areNoPaths)
{
    EXPECT_THAT(pathsIn(""), IsEmpty());
    EXPECT_THAT(pathsIn("a/b\n~x\nhttp://a/b\nword\n\""), IsEmpty());
}

TEST(ExclusionPasteboard, words_areExtensions)
{
    EXPECT_THAT(extensionsIn(".jpg, *.PNG"), ElementsAre("jpg", "PNG"));
    EXPECT_THAT(extensionsIn("tar.gz;a_b-c+d\n..x\ty"), ElementsAre("tar.gz", "a_b-c+d", "x", "y"));
}

TEST(ExclusionPasteboard, otherWords_areNoExtensions)
{
    EXPECT_THAT(extensionsIn(""), IsEmpty());
    EXPECT_THAT(extensionsIn(", ... * *.* a/b a*b \xC3\xA4"), IsEmpty());
}

TEST(ExclusionPasteboard, files_comeBeforeTheirText)
{
    QMimeData data;
    data.setText(QStringLiteral("/other"));
    data.setUrls({QUrl::fromLocalFile(QStringLiteral("/a/b.jpg")), QUrl(QStringLiteral("http://x/y.png")),
                  QUrl::fromLocalFile(QStringLiteral("/a/c/"))});
    EXPECT_EQ(ExclusionPasteboard::pathsIn(data).join(u' ').toStdString(), "/a/b.jpg /a/c");
    EXPECT_EQ(ExclusionPasteboard::extensionsIn(data).join(u' ').toStdString(), "jpg");
}

#include "Classes/Shared/keepAside.h"

#include "Platform/Fake/FakeFileSystem.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

#include <set>

using ::testing::MatchesRegex;

TEST(keepAside, severalInOneSecond_getNamesOfTheirOwn)
{
    FakeFileSystem files;
    const Override<FileSystem> override(files);
    std::set<Path> names;
    for (int round = 0; round < 20; ++round) {
        const Bytes content = bytesOf(std::to_string(round));
        ASSERT_TRUE(files.createFile("/file.plist", content, 0600));
        const Result<Path> aside = keepAside("/file.plist");
        ASSERT_TRUE(aside);
        EXPECT_THAT(aside->native(), MatchesRegex("/file\\.plist\\.damaged-[0-9]+-[0-9]+-[0-9]+-[0-9]+(-[0-9]+)?"));
        EXPECT_EQ(*files.readFile(*aside, 100), content);
        names.insert(*aside);
    }
    EXPECT_EQ(names.size(), 20u);
}

TEST(keepAside, anyCallFails_theFileIsThereUnderOneOfTheNames)
{
    bool isDone = false;
    for (int failing = 0; !isDone; ++failing) {
        FakeFileSystem files;
        const Override<FileSystem> override(files);
        ASSERT_TRUE(files.createFile("/file.plist", bytesOf("precious"), 0600));
        files.failCall(failing, ErrorCode::NoSpace);
        const Result<Path> aside = keepAside("/file.plist");
        files.failCall(-1, ErrorCode::Io);
        isDone = bool(aside);
        const Result<Bytes> content = files.readFile(aside ? *aside : Path("/file.plist"), 100);
        ASSERT_TRUE(content) << "lost when call " << failing << " failed";
        EXPECT_EQ(*content, bytesOf("precious"));
        EXPECT_TRUE(failing > 0 || !isDone) << "nothing was made to fail";
    }
}

TEST(keepAside, noFile_isNotFound)
{
    FakeFileSystem files;
    const Override<FileSystem> override(files);
    const Result<Path> aside = keepAside("/file.plist");
    ASSERT_FALSE(aside);
    EXPECT_EQ(aside.failure().code, ErrorCode::NotFound);
}

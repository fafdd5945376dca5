#include "Classes/PrefPane/ExclusionListFile.h"

#include "Platform/Fake/FakeFileSystem.h"
#include "Tests/Platform/Linux/FailingCalls.h"
#include "Tests/Support/EmptyFolder.h"
#include "Tests/Support/FileContent.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;

TEST(ExclusionListFileFaults, write_afterOneThatFailedAnywhere_keepsNothingOfOurOwn)
{
    const Path place = makeEmptyFolder("lists") / "list.plist";
    ExclusionListFile file(place);
    for (int failing = 0;; ++failing) {
        ASSERT_TRUE(file.write({"old"}));
        FailingCalls::fail(failing, EIO);
        const bool isWritten = bool(file.write({"new"}));
        const int calls = FailingCalls::stop();
        const Result<std::optional<Path>> kept = file.write({"newer"});
        ASSERT_TRUE(kept);
        EXPECT_EQ(*kept, std::nullopt) << "call " << failing;
        EXPECT_THAT(ExclusionListFile(place).read().valueOr({}), ElementsAre("newer"));
        if (failing >= calls) {
            EXPECT_TRUE(isWritten);
            EXPECT_GE(calls, 3);
            break;
        }
    }
}

TEST(ExclusionListFileFaults, write_anyCallFails_oldListStandsAndTheOthersFileIsNowhereLost)
{
    const std::string old = "<plist version=\"1.0\"><array><string>of somebody else</string></array></plist>";
    for (int failing = 0;; ++failing) {
        FakeFileSystem files;
        const Override<FileSystem> installed(files);
        files.addFolder("/f");
        files.addFile("/f/list.plist", bytesOf(old));
        ExclusionListFile file("/f/list.plist");
        files.failCall(failing, ErrorCode::NoSpace);
        const bool isWritten = bool(file.write({"new"}));
        const int calls = files.calls();
        files.failCall(-1, ErrorCode::NoSpace);
        bool isThere = false;
        const auto names = files.entries("/f");
        for (const std::string &name : *names)
            isThere = isThere || stringOf(*files.readFile(Path("/f") / name, 10000)) == old;
        ASSERT_TRUE(isThere) << "lost when call " << failing << " failed";
        ASSERT_EQ(stringOf(*files.readFile("/f/list.plist", 10000)) == old, !isWritten) << failing;
        if (failing >= calls) {
            EXPECT_TRUE(isWritten);
            EXPECT_GE(calls, 2);
            break;
        }
    }
}

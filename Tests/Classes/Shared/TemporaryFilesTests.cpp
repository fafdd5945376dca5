#include "Classes/Shared/TemporaryFiles.h"

#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/UserFolders.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

#include <fstream>
#include <unistd.h>

using ::testing::MatchesRegex;
using ::testing::StartsWith;

static Path temporary()
{
    return *UserFolders::current().temporary();
}

TEST(TemporaryFiles, scratchName_onTheSameVolume_liesInTheTemporaryFolder)
{
    const Path file = PrivateHome::current().makeFolder("scratch") / "file";
    std::ofstream(file) << "content";
    const Path scratch = getTemporaryFileNameBasedOnExistingPath(file);
    EXPECT_EQ(scratch.parent_path(), temporary().parent_path());
    EXPECT_THAT(scratch.filename().native(), MatchesRegex("DVS-tmp-[0-9]+"));
}

TEST(TemporaryFiles, scratchName_dependsOnThePathAlone)
{
    const Path folder = PrivateHome::current().makeFolder("scratch");
    EXPECT_EQ(getTemporaryFileNameBasedOnExistingPath(folder / "one"),
              getTemporaryFileNameBasedOnExistingPath(folder / "one"));
    EXPECT_NE(getTemporaryFileNameBasedOnExistingPath(folder / "one"),
              getTemporaryFileNameBasedOnExistingPath(folder / "other"));
}

TEST(TemporaryFiles, scratchName_ofARelativePath_isThatOfTheFileItMeans)
{
    const Path one = PrivateHome::current().makeFolder("one"), other = PrivateHome::current().makeFolder("other");
    std::filesystem::current_path(one);
    const Path scratch = getTemporaryFileNameBasedOnExistingPath("file");
    EXPECT_EQ(scratch, getTemporaryFileNameBasedOnExistingPath(one / "file"));
    std::filesystem::current_path(other);
    EXPECT_NE(scratch, getTemporaryFileNameBasedOnExistingPath("file"));
}

TEST(TemporaryFiles, scratchName_ofNothing_liesInTheTemporaryFolder)
{
    EXPECT_EQ(getTemporaryFileNameBasedOnExistingPath("/proc/none").parent_path(), temporary().parent_path());
}

TEST(TemporaryFiles, scratchName_onAnotherVolume_liesBesideTheFile)
{
    const std::string scratch = getTemporaryFileNameBasedOnExistingPath("/proc/self/status").native();
    EXPECT_THAT(scratch, MatchesRegex("/proc/self/status.DVS-tmp-[0-9]+"));
}

TEST(TemporaryFiles, temporaryFile_isMadeEmptyAndOpen)
{
    std::int32_t descriptor = -1;
    const std::optional<Path> file = createTemporaryFile(&descriptor);
    ASSERT_TRUE(file);
    EXPECT_THAT(file->native(), StartsWith((temporary() / "DVS-tmp.").native()));
    EXPECT_EQ(file->filename().native().size(), std::string("DVS-tmp.XXXXXX").size());
    EXPECT_EQ(::write(descriptor, "x", 1), 1);
    ::close(descriptor);
    EXPECT_EQ(std::filesystem::file_size(*file), 1u);
}

TEST(TemporaryFiles, temporaryFile_withoutAPlaceForItsDescriptor_isClosed)
{
    const auto nextDescriptor = [] {
        const int descriptor = ::dup(0);
        ::close(descriptor);
        return descriptor;
    };
    const int before = nextDescriptor();
    EXPECT_TRUE(createTemporaryFile(nullptr));
    EXPECT_EQ(nextDescriptor(), before);
}

TEST(TemporaryFiles, temporaryFile_thatCannotBeMade_isNoneAndItsDescriptorMinusOne)
{
    FakeFileSystem files; // has no temporary folder
    const Override<FileSystem> override(files);
    std::int32_t descriptor = 77;
    EXPECT_FALSE(createTemporaryFile(&descriptor));
    EXPECT_EQ(descriptor, -1);
    EXPECT_FALSE(createTemporaryFile(nullptr));
}

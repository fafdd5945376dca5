#include "Tests/Platform/FileSystemWorlds.h"

using ::testing::ElementsAre;

TYPED_TEST_SUITE(FileSystemContract, Worlds, WorldName);

TYPED_TEST(FileSystemContract, status_missing_isNotFound)
{
    EXPECT_EQ(this->m_files.status(this->at("none")).failure().code, ErrorCode::NotFound);
}

TYPED_TEST(FileSystemContract, status_file_hasTypeSizeAndMode)
{
    this->create("file", "12345");
    const Result<FileStatus> status = this->m_files.status(this->at("file"));
    ASSERT_TRUE(status);
    EXPECT_EQ(status->type, FileType::Regular);
    EXPECT_EQ(status->size, 5u);
    EXPECT_EQ(status->mode, 0644u);
    EXPECT_EQ(status->linkCount, 1u);
    EXPECT_GE(status->occupied, 5u);
}

TYPED_TEST(FileSystemContract, status_link_isFollowedOnlyWhenAsked)
{
    this->create("file", "12345");
    this->m_world.addLink(this->at("link"), "file");
    EXPECT_EQ(this->m_files.status(this->at("link"))->type, FileType::Link);
    EXPECT_EQ(this->m_files.status(this->at("link"), Links::Follow)->type, FileType::Regular);
}

TYPED_TEST(FileSystemContract, status_twoNamesOfOneFile_haveOneIdentity)
{
    this->create("file", "12345");
    this->create("another", "12345");
    this->m_world.addName(this->at("name"), this->at("file"));
    const FileIdentity file = this->m_files.status(this->at("file"))->identity;
    EXPECT_EQ(this->m_files.status(this->at("name"))->identity, file);
    EXPECT_EQ(this->m_files.status(this->at("name"))->linkCount, 2u);
    EXPECT_NE(this->m_files.status(this->at("another"))->identity, file);
}

TYPED_TEST(FileSystemContract, readFile_throughLink_isRead)
{
    this->create("file", "content");
    this->m_world.addLink(this->at("link"), "file");
    EXPECT_EQ(this->contentOf("link"), "content");
}

TYPED_TEST(FileSystemContract, readFile_limit_isKept)
{
    this->create("file", "12345");
    EXPECT_TRUE(this->m_files.readFile(this->at("file"), 5));
    EXPECT_EQ(this->m_files.readFile(this->at("file"), 4).failure().code, ErrorCode::TooLarge);
}

TYPED_TEST(FileSystemContract, readFile_pipe_isRefusedWithoutWaiting)
{
    this->m_world.addPipe(this->at("pipe"));
    EXPECT_EQ(this->m_files.readFile(this->at("pipe"), 100).failure().code, ErrorCode::NotSupported);
}

TYPED_TEST(FileSystemContract, readFile_directoryOrMissing_saysWhich)
{
    EXPECT_EQ(this->m_files.readFile(this->m_world.root, 100).failure().code, ErrorCode::NotSupported);
    EXPECT_EQ(this->m_files.readFile(this->at("none"), 100).failure().code, ErrorCode::NotFound);
}

TYPED_TEST(FileSystemContract, replaceFile_newOne_isMadeWithMode)
{
    ASSERT_TRUE(this->m_files.replaceFile(this->at("file"), bytesOf("new"), 0600));
    EXPECT_EQ(this->contentOf("file"), "new");
    EXPECT_EQ(this->m_files.status(this->at("file"))->mode, 0600u);
    EXPECT_THAT(this->names(), ElementsAre("file"));
}

TYPED_TEST(FileSystemContract, replaceFile_oldOne_keepsItsModeAndNothingElse)
{
    ASSERT_TRUE(this->m_files.createFile(this->at("file"), bytesOf("a longer old content"), 0600));
    const FileIdentity old = this->m_files.status(this->at("file"))->identity;
    ASSERT_TRUE(this->m_files.replaceFile(this->at("file"), bytesOf("new")));
    EXPECT_EQ(this->contentOf("file"), "new");
    EXPECT_EQ(this->m_files.status(this->at("file"))->mode, 0600u);
    EXPECT_NE(this->m_files.status(this->at("file"))->identity, old);
    EXPECT_THAT(this->names(), ElementsAre("file"));
}

TYPED_TEST(FileSystemContract, replaceFile_oneOfTwoNames_leavesTheOther)
{
    this->create("file", "old");
    this->m_world.addName(this->at("name"), this->at("file"));
    ASSERT_TRUE(this->m_files.replaceFile(this->at("file"), bytesOf("new")));
    EXPECT_EQ(this->contentOf("name"), "old");
    EXPECT_EQ(this->m_files.status(this->at("name"))->linkCount, 1u);
}

TYPED_TEST(FileSystemContract, replaceFile_linkPipeOrDirectory_isRefusedAndStands)
{
    this->create("file", "precious");
    this->m_world.addLink(this->at("link"), "file");
    this->m_world.addLink(this->at("dangling"), "none");
    this->m_world.addPipe(this->at("pipe"));
    ASSERT_TRUE(this->m_files.makeDirectory(this->at("folder"), 0755));
    for (const std::string name : {"link", "dangling", "pipe", "folder"}) {
        const Result<void> replaced = this->m_files.replaceFile(this->at(name), bytesOf("new"));
        ASSERT_FALSE(replaced) << name;
        EXPECT_EQ(replaced.failure().code, ErrorCode::NotSupported) << name;
    }
    EXPECT_EQ(this->contentOf("file"), "precious");
    EXPECT_THAT(this->names(), ElementsAre("dangling", "file", "folder", "link", "pipe"));
}

TYPED_TEST(FileSystemContract, replaceFile_missingFolder_isNotFound)
{
    EXPECT_EQ(this->m_files.replaceFile(this->at("none/file"), {}).failure().code, ErrorCode::NotFound);
    EXPECT_EQ(this->m_files.createFile(this->at("none/file"), {}).failure().code, ErrorCode::NotFound);
}

TYPED_TEST(FileSystemContract, replaceFileKeepingOld_movesTheOldFileItself)
{
    ASSERT_TRUE(this->m_files.createFile(this->at("file"), bytesOf("old"), 0600));
    const FileIdentity old = this->m_files.status(this->at("file"))->identity;
    ASSERT_TRUE(this->m_files.replaceFileKeepingOld(this->at("file"), bytesOf("new"), this->at("kept")));
    EXPECT_EQ(this->contentOf("file"), "new");
    EXPECT_EQ(this->m_files.status(this->at("file"))->mode, 0600u);
    EXPECT_EQ(this->contentOf("kept"), "old");
    EXPECT_EQ(this->m_files.status(this->at("kept"))->identity, old);
    EXPECT_THAT(this->names(), ElementsAre("file", "kept"));
}

TYPED_TEST(FileSystemContract, replaceFileKeepingOld_keptNameIsTaken_changesNothing)
{
    this->create("file", "old");
    this->create("kept", "precious");
    this->m_world.addLink(this->at("dangling"), "none");
    for (const char *const name : {"kept", "dangling"}) {
        const Result<void> replaced =
            this->m_files.replaceFileKeepingOld(this->at("file"), bytesOf("new"), this->at(name));
        ASSERT_FALSE(replaced) << name;
        EXPECT_EQ(replaced.failure().code, ErrorCode::Exists) << name;
    }
    EXPECT_EQ(this->contentOf("file"), "old");
    EXPECT_EQ(this->contentOf("kept"), "precious");
    EXPECT_THAT(this->names(), ElementsAre("dangling", "file", "kept"));
}

TYPED_TEST(FileSystemContract, replaceFileKeepingOld_nothingOrNoFileThere_isRefused)
{
    this->create("file", "precious");
    this->m_world.addLink(this->at("link"), "file");
    const auto codeFor = [this](const char *name) {
        return this->m_files.replaceFileKeepingOld(this->at(name), bytesOf("new"), this->at("kept")).failure().code;
    };
    EXPECT_EQ(codeFor("none"), ErrorCode::NotFound);
    EXPECT_EQ(codeFor("link"), ErrorCode::NotSupported);
    EXPECT_EQ(this->contentOf("file"), "precious");
    EXPECT_THAT(this->names(), ElementsAre("file", "link"));
}

TYPED_TEST(FileSystemContract, createFile_whereSomethingStands_isRefused)
{
    this->create("file", "precious");
    this->m_world.addLink(this->at("dangling"), "none");
    EXPECT_EQ(this->m_files.createFile(this->at("file"), bytesOf("new")).failure().code, ErrorCode::Exists);
    EXPECT_EQ(this->m_files.createFile(this->at("dangling"), bytesOf("new")).failure().code, ErrorCode::Exists);
    EXPECT_EQ(this->contentOf("file"), "precious");
    EXPECT_THAT(this->names(), ElementsAre("dangling", "file"));
}

TYPED_TEST(FileSystemContract, createFile_longestName_isMade)
{
    const std::string name(255, 'n');
    this->create(name, "content");
    EXPECT_EQ(this->contentOf(name), "content");
    EXPECT_TRUE(this->m_files.replaceFile(this->at(name), bytesOf("new")));
}

TYPED_TEST(FileSystemContract, makeDirectory_twice_isRefused)
{
    EXPECT_TRUE(this->m_files.makeDirectory(this->at("folder"), 0700));
    EXPECT_EQ(this->m_files.status(this->at("folder"))->mode, 0700u);
    EXPECT_EQ(this->m_files.makeDirectory(this->at("folder"), 0700).failure().code, ErrorCode::Exists);
    EXPECT_EQ(this->m_files.makeDirectory(this->at("none/folder"), 0700).failure().code, ErrorCode::NotFound);
}

TYPED_TEST(FileSystemContract, moveWithoutReplacing_freePlace_movesWithContent)
{
    ASSERT_TRUE(this->m_files.makeDirectory(this->at("folder"), 0755));
    this->create("folder/file", "content");
    ASSERT_TRUE(this->m_files.moveWithoutReplacing(this->at("folder"), this->at("moved")));
    EXPECT_EQ(this->contentOf("moved/file"), "content");
    EXPECT_THAT(this->names(), ElementsAre("moved"));
}

TYPED_TEST(FileSystemContract, moveWithoutReplacing_takenPlace_isRefused)
{
    this->create("file", "one");
    this->create("other", "two");
    ASSERT_TRUE(this->m_files.makeDirectory(this->at("empty"), 0755));
    ASSERT_TRUE(this->m_files.makeDirectory(this->at("folder"), 0755));
    EXPECT_EQ(this->m_files.moveWithoutReplacing(this->at("file"), this->at("other")).failure().code,
              ErrorCode::Exists);
    EXPECT_EQ(this->m_files.moveWithoutReplacing(this->at("folder"), this->at("empty")).failure().code,
              ErrorCode::Exists);
    EXPECT_EQ(this->m_files.moveWithoutReplacing(this->at("none"), this->at("new")).failure().code,
              ErrorCode::NotFound);
    EXPECT_EQ(this->contentOf("file"), "one");
    EXPECT_EQ(this->contentOf("other"), "two");
}

TYPED_TEST(FileSystemContract, removeFile_link_leavesItsTarget)
{
    this->create("file", "content");
    this->m_world.addLink(this->at("link"), "file");
    EXPECT_TRUE(this->m_files.removeFile(this->at("link")));
    EXPECT_EQ(this->m_files.removeFile(this->at("link")).failure().code, ErrorCode::NotFound);
    EXPECT_FALSE(this->m_files.removeFile(this->m_world.root));
    EXPECT_THAT(this->names(), ElementsAre("file"));
}

TYPED_TEST(FileSystemContract, entries_ofTheFolderAlone_areSortedByBytes)
{
    ASSERT_TRUE(this->m_files.makeDirectory(this->at("a"), 0755));
    for (const std::string name : {"b", "B", "\xff", "a-b", "a/b"})
        this->create(name, "");
    EXPECT_THAT(this->names(), ElementsAre("B", "a", "a-b", "b", "\xff"));
}

TYPED_TEST(FileSystemContract, entries_fileOrMissing_saysWhich)
{
    this->create("file", "");
    EXPECT_EQ(this->m_files.entries(this->at("file")).failure().code, ErrorCode::NotSupported);
    EXPECT_EQ(this->m_files.entries(this->at("none")).failure().code, ErrorCode::NotFound);
    EXPECT_EQ(this->m_files.entries(this->at("file/below")).failure().code, ErrorCode::NotFound);
}

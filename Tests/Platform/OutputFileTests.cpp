#include "Platform/Formats/CompressedFile.h"
#include "Tests/Platform/FileSystemWorlds.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Locks, scratch files and replacing: what holds for every file system.
template <class World>
class OutputFileContract : public FileSystemContract<World>
{
protected:
    std::unique_ptr<OutputFile> scratch(const std::string &name = "scratch")
    {
        Result<std::unique_ptr<OutputFile>> file = this->m_files.openScratchFile(this->at(name), 0644);
        EXPECT_TRUE(file) << file.failure().context;
        return file ? std::move(*file) : nullptr;
    }
    FileStatus statusOf(const std::string &name) const { return *this->m_files.status(this->at(name)); }

    /// A closed scratch file with that content, made like "file".
    std::unique_ptr<OutputFile> preparedScratch(const std::string &content, const FileStatus &examined)
    {
        std::unique_ptr<OutputFile> file = scratch();
        EXPECT_TRUE(file->write(bytesOf(content)));
        EXPECT_TRUE(file->close());
        const Result<void> made = file->makeLike(this->at("file"), examined);
        EXPECT_TRUE(made) << made.failure().context;
        return file;
    }
};

TYPED_TEST_SUITE(OutputFileContract, Worlds, WorldName);

TYPED_TEST(OutputFileContract, lock_heldByOne_isRefusedToTheOtherUntilItEnds)
{
    this->create("file", "content");
    {
        const auto lock = this->m_files.lockFile(this->at("file"));
        ASSERT_TRUE(lock);
        EXPECT_EQ(this->m_files.lockFile(this->at("file")).failure().code, ErrorCode::Busy);
    }
    EXPECT_TRUE(this->m_files.lockFile(this->at("file")));
    EXPECT_EQ(this->contentOf("file"), "content");
}

TYPED_TEST(OutputFileContract, lock_ofLinkFolderOrNothing_isRefused)
{
    this->create("file", "content");
    this->m_world.addLink(this->at("link"), this->at("file"));
    ASSERT_TRUE(this->m_files.makeDirectory(this->at("folder"), 0755));
    EXPECT_EQ(this->m_files.lockFile(this->at("link")).failure().code, ErrorCode::NotSupported);
    EXPECT_EQ(this->m_files.lockFile(this->at("folder")).failure().code, ErrorCode::NotSupported);
    EXPECT_EQ(this->m_files.lockFile(this->at("nothing")).failure().code, ErrorCode::NotFound);
}

TYPED_TEST(OutputFileContract, scratchFile_thatTakesNoPlace_vanishes)
{
    {
        const auto file = this->scratch();
        ASSERT_TRUE(file->write(bytesOf("half")));
        EXPECT_THAT(this->names(), ElementsAre("scratch"));
        EXPECT_EQ(this->contentOf("scratch"), "half");
    }
    EXPECT_THAT(this->names(), IsEmpty());
}

TYPED_TEST(OutputFileContract, scratchFile_inUse_isRefusedToAnotherAndStays)
{
    const auto file = this->scratch();
    ASSERT_TRUE(file->write(bytesOf("mine")));
    EXPECT_EQ(this->m_files.openScratchFile(this->at("scratch"), 0644).failure().code, ErrorCode::Busy);
    ASSERT_TRUE(file->close());
    EXPECT_EQ(this->m_files.openScratchFile(this->at("scratch"), 0644).failure().code, ErrorCode::Busy);
    EXPECT_EQ(this->contentOf("scratch"), "mine");
}

TYPED_TEST(OutputFileContract, scratchFile_leftByACrash_isTakenOverEmpty)
{
    this->create("scratch", "left by somebody who is gone");
    const auto file = this->scratch();
    EXPECT_EQ(this->contentOf("scratch"), "");
}

TYPED_TEST(OutputFileContract, scratchFile_whereALinkLies_isRefused)
{
    this->create("precious", "content");
    this->m_world.addLink(this->at("scratch"), this->at("precious"));
    EXPECT_EQ(this->m_files.openScratchFile(this->at("scratch"), 0644).failure().code, ErrorCode::Exists);
    EXPECT_EQ(this->contentOf("precious"), "content");
    EXPECT_THAT(this->names(), ElementsAre("precious", "scratch"));
}

TYPED_TEST(OutputFileContract, scratchFile_whereAnotherNameOfAFileLies_isRefused)
{
    this->create("precious", "content");
    this->m_world.addName(this->at("scratch"), this->at("precious"));
    EXPECT_EQ(this->m_files.openScratchFile(this->at("scratch"), 0644).failure().code, ErrorCode::Exists);
    EXPECT_EQ(this->contentOf("precious"), "content");
}

TYPED_TEST(OutputFileContract, scratchFile_whereAFolderOrPipeLies_isRefused)
{
    ASSERT_TRUE(this->m_files.makeDirectory(this->at("folder"), 0755));
    this->m_world.addPipe(this->at("pipe"));
    EXPECT_EQ(this->m_files.openScratchFile(this->at("folder"), 0644).failure().code, ErrorCode::Exists);
    EXPECT_EQ(this->m_files.openScratchFile(this->at("pipe"), 0644).failure().code, ErrorCode::Exists);
    EXPECT_THAT(this->names(), ElementsAre("folder", "pipe"));
}

TYPED_TEST(OutputFileContract, removeAbandoned_takesWhatNobodyHoldsAndNothingElse)
{
    const auto held = this->scratch();
    this->create("precious", "content");
    this->create("left", "left by somebody who is gone");
    this->m_world.addLink(this->at("link"), this->at("precious"));
    this->create("named-twice", "content");
    this->m_world.addName(this->at("other-name"), this->at("named-twice"));
    for (const char *name : {"scratch", "left", "link", "named-twice", "other-name", "missing"})
        this->m_files.removeAbandoned(this->at(name));
    EXPECT_THAT(this->names(), ElementsAre("link", "named-twice", "other-name", "precious", "scratch"));
}

TYPED_TEST(OutputFileContract, scratchFile_replacesWithModeAndTimeOfTheOld)
{
    this->create("file", "old");
    const FileStatus examined = this->statusOf("file");
    const auto file = this->preparedScratch("new", examined);
    const Result<bool> replaced = file->replace(this->at("file"), examined);
    ASSERT_TRUE(replaced) << replaced.failure().context;
    EXPECT_TRUE(*replaced);
    EXPECT_EQ(this->contentOf("file"), "new");
    EXPECT_THAT(this->names(), ElementsAre("file"));
    EXPECT_EQ(this->statusOf("file").mode, examined.mode);
    EXPECT_EQ(this->statusOf("file").modified, examined.modified);
    EXPECT_NE(this->statusOf("file").identity, examined.identity);
}

TYPED_TEST(OutputFileContract, replacedFile_staysWhenTheOutputEnds)
{
    this->create("file", "old");
    const FileStatus examined = this->statusOf("file");
    {
        const auto file = this->preparedScratch("new", examined);
        ASSERT_TRUE(file->replace(this->at("file"), examined));
        EXPECT_TRUE(file->setFlags(kImmutableFlag));
    }
    EXPECT_EQ(this->contentOf("file"), "new");
}

TYPED_TEST(OutputFileContract, replace_ofAFileThatWasReplacedMeanwhile_isRefused)
{
    this->create("file", "old");
    const FileStatus examined = this->statusOf("file");
    {
        const auto file = this->preparedScratch("new", examined);
        this->create("other", "somebody else's");
        ASSERT_TRUE(this->m_files.removeFile(this->at("file")));
        ASSERT_TRUE(this->m_files.moveWithoutReplacing(this->at("other"), this->at("file")));
        EXPECT_EQ(file->replace(this->at("file"), examined).failure().code, ErrorCode::Busy);
    }
    EXPECT_EQ(this->contentOf("file"), "somebody else's");
    EXPECT_THAT(this->names(), ElementsAre("file"));
}

TYPED_TEST(OutputFileContract, replace_ofAFileThatIsGone_isRefused)
{
    this->create("file", "old");
    const FileStatus examined = this->statusOf("file");
    {
        const auto file = this->preparedScratch("new", examined);
        ASSERT_TRUE(this->m_files.removeFile(this->at("file")));
        EXPECT_EQ(file->replace(this->at("file"), examined).failure().code, ErrorCode::NotFound);
    }
    EXPECT_THAT(this->names(), IsEmpty());
}

TYPED_TEST(OutputFileContract, replace_whenTheScratchNameIsAnothersNow_touchesNeither)
{
    this->create("file", "old");
    const FileStatus examined = this->statusOf("file");
    {
        const auto file = this->preparedScratch("new", examined);
        ASSERT_TRUE(this->m_files.removeFile(this->at("scratch")));
        this->create("scratch", "planted");
        EXPECT_EQ(file->replace(this->at("file"), examined).failure().code, ErrorCode::Busy);
    }
    EXPECT_EQ(this->contentOf("file"), "old");
    EXPECT_EQ(this->contentOf("scratch"), "planted");
}

TYPED_TEST(OutputFileContract, makeLike_ofAFileThatWasReplaced_isRefused)
{
    this->create("file", "old");
    const FileStatus examined = this->statusOf("file");
    const auto file = this->scratch();
    ASSERT_TRUE(file->close());
    this->create("other", "another");
    ASSERT_TRUE(this->m_files.removeFile(this->at("file")));
    ASSERT_TRUE(this->m_files.moveWithoutReplacing(this->at("other"), this->at("file")));
    EXPECT_EQ(file->makeLike(this->at("file"), examined).failure().code, ErrorCode::Busy);
}

TYPED_TEST(OutputFileContract, newFile_whereOneIs_isRefused)
{
    this->create("file", "old");
    EXPECT_EQ(this->m_files.openNewFile(this->at("file"), 0755).failure().code, ErrorCode::Exists);
    EXPECT_EQ(this->contentOf("file"), "old");
}

TYPED_TEST(OutputFileContract, newFile_staysAsFarAsItIsWritten)
{
    {
        const auto file = this->m_files.openNewFile(this->at("file"), 0755);
        ASSERT_TRUE(file);
        ASSERT_TRUE((*file)->write(bytesOf("half")));
        EXPECT_EQ(this->m_files.openScratchFile(this->at("file"), 0644).failure().code, ErrorCode::Busy);
    }
    EXPECT_EQ(this->contentOf("file"), "half");
    EXPECT_EQ(this->statusOf("file").mode, 0755u);
}

TYPED_TEST(OutputFileContract, output_inAFolderThatIsMissing_isNotFound)
{
    EXPECT_EQ(this->m_files.openScratchFile(this->at("missing") / "scratch", 0644).failure().code, ErrorCode::NotFound);
    EXPECT_EQ(this->m_files.openNewFile(this->at("missing") / "file", 0644).failure().code, ErrorCode::NotFound);
}

TYPED_TEST(OutputFileContract, uniqueFiles_haveNamesOfTheirOwn)
{
    const Result<UniqueFile> one = this->m_files.makeUniqueFile(this->at("tmp."));
    const Result<UniqueFile> other = this->m_files.makeUniqueFile(this->at("tmp."));
    ASSERT_TRUE(one);
    ASSERT_TRUE(other);
    EXPECT_NE(one->path, other->path);
    EXPECT_EQ(one->path.filename().native().size(), std::string("tmp.XXXXXX").size());
    EXPECT_EQ(this->contentOf(one->path.filename()), "");
    for (const UniqueFile &file : {*one, *other}) {
        if (file.descriptor >= 0)
            ::close(file.descriptor);
    }
}

TYPED_TEST(OutputFileContract, isWritable_ofWhatIsThere_isSaid)
{
    this->create("file", "content");
    EXPECT_TRUE(this->m_files.isWritable(this->at("file")).valueOr(false));
    EXPECT_EQ(this->m_files.isWritable(this->at("none")).failure().code, ErrorCode::NotFound);
}

TYPED_TEST(OutputFileContract, forkOfAFileWithOneName_isNotShared)
{
    this->create("file", "");
    this->m_world.setFork(this->at("file"), bytesOf("fork"));
    EXPECT_FALSE(this->m_files.isForkShared(this->at("file")).valueOr(true));
    this->create("plain", "content");
    EXPECT_FALSE(this->m_files.isForkShared(this->at("plain")).valueOr(true));
    EXPECT_EQ(this->m_files.isForkShared(this->at("missing")).failure().code, ErrorCode::NotFound);
}

TYPED_TEST(OutputFileContract, fileWithTwoNamesAndNoForkInSight_isShared)
{
    this->create("file", "");
    this->m_world.addName(this->at("name"), this->at("file"));
    EXPECT_TRUE(this->m_files.isForkShared(this->at("name")).valueOr(false));
}

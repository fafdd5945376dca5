#include "Tests/Classes/Shared/ExpansionFixture.h"

#include "Platform/Linux/NewFile.h"
#include "Tests/Support/FileHolder.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

using DVHFSUncompressorTest = ExpansionFixture;

TEST_F(DVHFSUncompressorTest, compressedFile_isExpandedInItsPlace)
{
    CompressedSample::make(m_file, m_content);
    ASSERT_EQ(::chmod(m_file.c_str(), 0640), 0);
    const timespec times[2] = {{1000000001, 5}, {1000000002, 987654321}};
    ASSERT_EQ(::utimensat(AT_FDCWD, m_file.c_str(), times, 0), 0);
    EXPECT_TRUE(expand()) << m_outcome.reason;
    EXPECT_EQ(contentOf(m_file), m_content);
    EXPECT_FALSE(HFSCompression::isFileUFCompressed(m_file));
    EXPECT_FALSE(HFSCompression::hasCompressedAttributes(m_file));
    EXPECT_THAT(names(m_folder), ElementsAre("file"));
    EXPECT_THAT(scratchFiles(), IsEmpty());
    const FileStatus status = *FileSystem::current().status(m_file);
    EXPECT_EQ(status.mode, 0640u);
    EXPECT_EQ(status.modified, 1000000002);
    EXPECT_EQ(status.modifiedNanoseconds, 987654321u);
    EXPECT_EQ(m_outcome.result, Outcome::Expanded);
    EXPECT_EQ(m_outcome.writtenSize, m_content.size());
    EXPECT_FALSE(m_outcome.isFlagLeftCleared);
    EXPECT_EQ(m_outcome.reasonForkKept, "");
}

TEST_F(DVHFSUncompressorTest, everyForm_expandsAlike)
{
    const std::vector<std::function<bool(DVHFSUncompressor &)>> forms = {
        [](auto &each) { return each.expand(); }, [](auto &each) { return each.expandReturningError(nullptr); },
        [&](auto &each) { return each.expandTo(m_file); },
        [&](auto &each) { return each.expandTo(m_file, std::nullopt, nullptr); },
        [&](auto &) { return DVHFSUncompressor::expandInPlacePath(m_file); }};
    for (const auto &form : forms) {
        CompressedSample::make(m_file, m_content);
        DVHFSUncompressor uncompressor(m_file);
        EXPECT_TRUE(form(uncompressor));
        EXPECT_EQ(contentOf(m_file), m_content);
    }
}

TEST_F(DVHFSUncompressorTest, sizes_areNeverWritten)
{
    CompressedSample::make(m_file, m_content);
    std::uint64_t compressed = 17, uncompressed = 18;
    EXPECT_TRUE(DVHFSUncompressor::expandInPlacePath(m_file, nullptr, &compressed, &uncompressed));
    EXPECT_EQ(compressed, 17u);
    EXPECT_EQ(uncompressed, 18u);
}

TEST_F(DVHFSUncompressorTest, afterCleanup_nothingIsExpanded)
{
    CompressedSample::make(m_file, m_content);
    DVHFSUncompressor uncompressor(m_file);
    uncompressor.cleanup();
    EXPECT_FALSE(uncompressor.expand());
    EXPECT_FALSE(uncompressor.expandTo(m_file));
    expectStillCompressed(CompressedSample::fork(m_content));
}

TEST_F(DVHFSUncompressorTest, ordinaryFile_is705AndNamesTheDestination)
{
    write(m_file, bytesOf("ordinary"));
    EXPECT_FALSE(expand());
    expectError(705, "Source file is not compressed at " + m_file.native());
    EXPECT_FALSE(expandTo(m_folder / "other"));
    expectError(705, "Source file is not compressed at " + (m_folder / "other").native());
    EXPECT_THAT(names(m_folder), ElementsAre("file"));
    EXPECT_EQ(contentOf(m_file), bytesOf("ordinary"));
}

TEST_F(DVHFSUncompressorTest, missingFileFolderAndLink_are705)
{
    CompressedSample::make(m_folder / "target", m_content);
    std::filesystem::create_symlink("target", m_folder / "link");
    for (const Path &path : {m_folder / "none", m_folder, m_folder / "link"}) {
        EXPECT_FALSE(expand(path)) << path;
        EXPECT_EQ(m_error.code, 705) << path;
    }
    EXPECT_TRUE(HFSCompression::isFileUFCompressed(m_folder / "target"));
}

TEST_F(DVHFSUncompressorTest, clearedFlag_ignored_isNoHindrance)
{
    CompressedSample::make(m_file, m_content);
    ASSERT_TRUE(HFSCompression::setFileAsUFCompressed(m_file, false));
    EXPECT_FALSE(expand());
    expectStillCompressed(CompressedSample::fork(m_content), false);
    EXPECT_TRUE(expand(true));
    EXPECT_EQ(contentOf(m_file), m_content);
}

TEST_F(DVHFSUncompressorTest, fileFromAMac_isExpanded)
{
    const Bytes header = CompressedSample::decmpfs(m_content.size());
    makeWithFork(CompressedSample::fork(m_content), m_content.size(),
                 {std::nullopt, {{kDecmpfsAttribute, header}}, {}});
    ASSERT_EQ(::removexattr(m_file.c_str(), "user.tamsel.st_flags"), 0);
    ASSERT_EQ(::removexattr(m_file.c_str(), "user.com.apple.decmpfs"), 0);
    EXPECT_TRUE(expand());
    EXPECT_EQ(contentOf(m_file), m_content);
    EXPECT_THAT(names(m_folder), ElementsAre("file"));
}

TEST_F(DVHFSUncompressorTest, forkInAnAttribute_isExpanded)
{
    CompressedSample::make(m_file, {});
    std::filesystem::remove(companionOf(m_file));
    const Bytes content = CompressedSample::text(5000);
    FileSystem &files = FileSystem::current();
    ASSERT_TRUE(files.setAttribute(m_file, kDecmpfsAttribute, CompressedSample::decmpfs(5000), Links::NotFollow));
    ASSERT_TRUE(files.setAttribute(m_file, kResourceForkAttribute, CompressedSample::fork(content), Links::NotFollow));
    EXPECT_TRUE(expand());
    EXPECT_EQ(contentOf(m_file), content);
    EXPECT_THAT(*files.attributeNames(m_file, Links::NotFollow), IsEmpty());
}

TEST_F(DVHFSUncompressorTest, forkWithoutBlocks_givesAnEmptyFile)
{
    makeWithFork(ForkParts::fork({}), 0);
    EXPECT_TRUE(expand());
    EXPECT_EQ(contentOf(m_file), Bytes());
    EXPECT_FALSE(HFSCompression::isFileUFCompressed(m_file));
    EXPECT_THAT(names(m_folder), ElementsAre("file"));
}

TEST_F(DVHFSUncompressorTest, entryOfSizeZero_isPassedOver)
{
    const Bytes one = CompressedSample::text(65536), other = CompressedSample::text(100);
    Bytes both = one;
    both.insert(both.end(), other.begin(), other.end());
    makeWithFork(ForkParts::fork({ForkParts::deflated(one), {}, ForkParts::deflated(other)}), both.size());
    EXPECT_TRUE(expand());
    EXPECT_EQ(contentOf(m_file), both);
}

TEST_F(DVHFSUncompressorTest, blockOfNoBytes_writesNothing)
{
    makeWithFork(ForkParts::fork({ForkParts::deflated({}), ForkParts::deflated(bytesOf("x"))}), 1);
    EXPECT_TRUE(expand());
    EXPECT_EQ(contentOf(m_file), bytesOf("x"));
}

TEST_F(DVHFSUncompressorTest, blockLargerThanABlock_is700)
{
    const Bytes fork = ForkParts::fork({ForkParts::deflated(bytesOf("x")), Bytes(65537)});
    makeWithFork(fork, 65537);
    EXPECT_FALSE(expand());
    expectError(700, "Could not read source data");
    expectStillCompressed(fork, false);
    EXPECT_TRUE(m_outcome.isFlagLeftCleared);
}

TEST_F(DVHFSUncompressorTest, damagedBlock_is706AndChangesNothingButTheFlag)
{
    Bytes block = ForkParts::deflated(CompressedSample::text(65536));
    block[block.size() / 2] ^= 0x55;
    const Bytes fork = ForkParts::fork({ForkParts::deflated(CompressedSample::text(65536)), block});
    makeWithFork(fork, 131072);
    const FileStatus before = *FileSystem::current().status(m_file);
    EXPECT_FALSE(expand());
    expectError(706, "Source data cannot be uncompressed");
    expectStillCompressed(fork, false);
    EXPECT_EQ(FileSystem::current().status(m_file)->identity, before.identity);
    EXPECT_TRUE(m_outcome.isFlagLeftCleared);
    EXPECT_EQ(m_outcome.result, Outcome::BlockDamaged);
}

TEST_F(DVHFSUncompressorTest, blockStoredWithoutCompression_is706)
{
    makeWithFork(ForkParts::fork({CompressedSample::text(5000)}), 5000);
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_error.code, 706);
}

TEST_F(DVHFSUncompressorTest, blockOfMoreThanABlocksContent_is706)
{
    makeWithFork(ForkParts::fork({ForkParts::deflated(CompressedSample::text(65537))}), 65537);
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_error.code, 706);
}

TEST_F(DVHFSUncompressorTest, anyFailure_withoutErrorPointer_isQuiet)
{
    makeWithFork(ForkParts::fork({Bytes(10)}), 5000);
    EXPECT_FALSE(DVHFSUncompressor::expandInPlacePath(m_file));
    EXPECT_FALSE(DVHFSUncompressor::expandInPlacePath(m_file)) << "705 now";
}

TEST_F(DVHFSUncompressorTest, forkCutAnywhere_losesNothing)
{
    const Bytes content = CompressedSample::text(600);
    const Bytes whole = CompressedSample::fork(content);
    for (std::size_t length = 1; length < whole.size(); ++length) {
        const Bytes fork(whole.begin(), whole.begin() + std::ptrdiff_t(length));
        makeWithFork(fork, content.size());
        const bool isExpanded = expand();
        if (isExpanded && contentOf(m_file) == content)
            continue; // only the map was cut
        ASSERT_EQ(contentOf(m_file), Bytes()) << length;
        const auto read = FileSystem::current().openResourceFork(m_file);
        ASSERT_TRUE(read) << length;
        Bytes bytes((*read)->size());
        ASSERT_EQ((*read)->readAt(0, bytes).valueOr(0), fork.size()) << length;
        ASSERT_EQ(bytes, fork) << length;
        ASSERT_THAT(scratchFiles(), IsEmpty());
    }
}

TEST_F(DVHFSUncompressorTest, contentOfAnotherSizeThanTheHeaders_keepsTheFork)
{
    const Bytes fork = CompressedSample::fork(CompressedSample::text(5000));
    makeWithFork(fork, 5001);
    EXPECT_TRUE(expand());
    EXPECT_EQ(contentOf(m_file), CompressedSample::text(5000));
    EXPECT_FALSE(HFSCompression::isFileUFCompressed(m_file));
    EXPECT_EQ((*FileSystem::current().openResourceFork(m_file))->size(), fork.size());
    EXPECT_EQ(m_outcome.reasonForkKept, "its header says 5001 bytes, 5000 were in its blocks");
}

TEST_F(DVHFSUncompressorTest, hugeCounts_areRefusedAtOnce)
{
    for (const std::uint32_t count : {0xFFFFFFFFu, 0x20000000u, 0x1FFFFFFFu, 0x80000000u, 2u}) {
        Bytes fork = ForkParts::fork({Bytes(8)});
        ForkParts::putLittle(fork, 260, count);
        if (count == 2)
            fork.resize(264 + 15); // one byte short of two entries
        makeWithFork(fork, 5000);
        EXPECT_FALSE(expand()) << count;
        EXPECT_EQ(m_error.code, 0) << count;
        EXPECT_EQ(m_outcome.result, Outcome::ForkDamaged) << count;
        EXPECT_THAT(scratchFiles(), IsEmpty());
    }
}

TEST_F(DVHFSUncompressorTest, otherAttributes_areKeptAndOwnOnesDropped)
{
    AppleDoubleContent more{{{}}, {{"Com.Dovrane.Tamsel.Exclude", bytesOf("x")}, {"mac", bytesOf("from a Mac")}}, {}};
    more.finderInformation->at(0) = 'T';
    makeWithFork(CompressedSample::fork(m_content), m_content.size(), more);
    FileSystem &files = FileSystem::current();
    const Bytes large = CompressedSample::text(30000);
    for (const char *name :
         {"com.dovrane.tamsel.exclude", "COM.dovrane.tamsel.SIGNATURE", "com.dovrane.other", "empty"})
        ASSERT_TRUE(
            files.setAttribute(m_file, name, bytesOf(std::string(name) == "empty" ? "" : "value"), Links::NotFollow));
    ASSERT_TRUE(files.setAttribute(m_file, "large", large, Links::NotFollow));
    EXPECT_TRUE(expand()) << m_outcome.reason;
    EXPECT_THAT(*files.attributeNames(m_file, Links::NotFollow),
                UnorderedElementsAre("com.dovrane.other", "empty", "mac", "large"));
    EXPECT_EQ(*files.attribute(m_file, "com.dovrane.other", Links::NotFollow), bytesOf("value"));
    EXPECT_EQ(*files.attribute(m_file, "mac", Links::NotFollow), bytesOf("from a Mac"));
    EXPECT_EQ(*files.attribute(m_file, "large", Links::NotFollow), large);
    EXPECT_THAT(scratchFiles(), IsEmpty());
    EXPECT_EQ(m_outcome.reasonForkKept, "");
    EXPECT_FALSE(files.openResourceFork(m_file));
}

TEST_F(DVHFSUncompressorTest, savedFlags_areThoseOfTheFileManager)
{
    CompressedSample::make(m_file, m_content);
    ASSERT_EQ(::setxattr(m_file.c_str(), "user.tamsel.st_flags", "32806", 5, 0), 0); // 0x8026
    EXPECT_TRUE(expand());
    char number[8] = {};
    EXPECT_EQ(::getxattr(m_file.c_str(), "user.tamsel.st_flags", number, sizeof number), 1);
    EXPECT_STREQ(number, "6");
}

TEST_F(DVHFSUncompressorTest, newDestination_isMadeWithTheAttributesAndTheSourceStays)
{
    ::umask(0);
    CompressedSample::make(m_file, m_content);
    FileSystem &files = FileSystem::current();
    ASSERT_TRUE(files.setAttribute(m_file, "kept", bytesOf("value"), Links::NotFollow));
    const Path other = m_folder / "other";
    EXPECT_TRUE(expandTo(other));
    EXPECT_EQ(contentOf(other), m_content);
    EXPECT_EQ(files.status(other)->mode, 0755u);
    EXPECT_THAT(*files.attributeNames(other, Links::NotFollow), ElementsAre("kept"));
    expectStillCompressed(CompressedSample::fork(m_content));
}

TEST_F(DVHFSUncompressorTest, newDestination_keepsWhatAFailureLeaves)
{
    const Bytes first = CompressedSample::text(65536);
    const Bytes fork = ForkParts::fork({ForkParts::deflated(first), Bytes(10)});
    makeWithFork(fork, 70000);
    EXPECT_FALSE(expandTo(m_folder / "other"));
    EXPECT_EQ(contentOf(m_folder / "other"), first);
    expectStillCompressed(fork, false);
}

TEST_F(DVHFSUncompressorTest, otherDestination_isReplacedAndKeepsItsMode)
{
    CompressedSample::make(m_file, m_content);
    const Path other = m_folder / "other";
    write(other, bytesOf("old"));
    ASSERT_EQ(::chmod(other.c_str(), 0600), 0);
    EXPECT_TRUE(expandTo(other));
    EXPECT_EQ(contentOf(other), m_content);
    EXPECT_EQ(FileSystem::current().status(other)->mode, 0600u);
    expectStillCompressed(CompressedSample::fork(m_content));
}

TEST_F(DVHFSUncompressorTest, otherDestination_getsAttributesThatDoNotFitToo)
{
    CompressedSample::make(m_file, m_content);
    FileSystem &files = FileSystem::current();
    const Bytes large = CompressedSample::text(30000);
    ASSERT_TRUE(files.setAttribute(m_file, "large", large, Links::NotFollow));
    write(m_folder / "other", bytesOf("old"));
    EXPECT_TRUE(expandTo(m_folder / "other"));
    EXPECT_EQ(files.attribute(m_folder / "other", "large", Links::NotFollow).valueOr({}), large);
    EXPECT_THAT(scratchFiles(), IsEmpty());
}

TEST_F(DVHFSUncompressorTest, destinationThatIsALinkFolderOrPipe_isRefusedBeforeAnythingChanges)
{
    CompressedSample::make(m_file, m_content);
    write(m_folder / "precious", bytesOf("precious"));
    std::filesystem::create_symlink("precious", m_folder / "link");
    std::filesystem::create_directory(m_folder / "folder");
    ASSERT_EQ(::mkfifo((m_folder / "pipe").c_str(), 0600), 0);
    for (const char *name : {"link", "folder", "pipe"}) {
        EXPECT_FALSE(expandTo(m_folder / name)) << name;
        EXPECT_EQ(m_outcome.result, Outcome::NotReplaceable) << name;
    }
    EXPECT_EQ(contentOf(m_folder / "precious"), bytesOf("precious"));
    expectStillCompressed(CompressedSample::fork(m_content));
}

TEST_F(DVHFSUncompressorTest, writerOfTheDestination_keepsTheFileAsItIs)
{
    CompressedSample::make(m_file, m_content);
    FileHolder writer([&] { return ::open(m_file.c_str(), O_WRONLY) >= 0; });
    ASSERT_TRUE(writer.isHolding());
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_error.code, 0);
    EXPECT_EQ(m_outcome.result, Outcome::BeingWritten);
    EXPECT_FALSE(m_outcome.isFlagLeftCleared);
    expectStillCompressed(CompressedSample::fork(m_content));
    writer.release();
    EXPECT_TRUE(expand());
}

TEST_F(DVHFSUncompressorTest, readerOfTheDestination_isNoHindrance)
{
    CompressedSample::make(m_file, m_content);
    FileHolder reader([&] { return ::open(m_file.c_str(), O_RDONLY) >= 0; });
    ASSERT_TRUE(reader.isHolding());
    EXPECT_TRUE(expand());
}

TEST_F(DVHFSUncompressorTest, lockOfAnother_isNoHindrance)
{
    CompressedSample::make(m_file, m_content);
    const auto lock = FileSystem::current().lockFile(m_file);
    ASSERT_TRUE(lock);
    EXPECT_TRUE(expand());
    EXPECT_EQ(contentOf(m_file), m_content);
}

TEST_F(DVHFSUncompressorTest, withoutCompanion_endsEarlyAndLeavesLockAndClearedFlag)
{
    CompressedSample::make(m_file, m_content);
    std::filesystem::remove(companionOf(m_file));
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_error.code, 0);
    EXPECT_EQ(m_outcome.result, Outcome::NoFork);
    EXPECT_TRUE(m_outcome.isFlagLeftCleared);
    EXPECT_FALSE(HFSCompression::isFileUFCompressed(m_file));
    EXPECT_TRUE(HFSCompression::hasCompressedAttributes(m_file));
    EXPECT_EQ(FileSystem::current().lockFile(m_file).failure().code, ErrorCode::Busy);
    LeftLocks::release();
    EXPECT_TRUE(FileSystem::current().lockFile(m_file));
}

TEST_F(DVHFSUncompressorTest, manyFilesWithoutCompanions_doNotUseUpTheDescriptors)
{
    rlimit limit = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = 512;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    for (int number = 0; number < 1000; ++number) {
        const Path path = m_folder / std::to_string(number);
        CompressedSample::make(path, bytesOf("x"));
        std::filesystem::remove(companionOf(path));
        ASSERT_FALSE(expand(path));
        ASSERT_EQ(m_outcome.result, Outcome::NoFork) << number;
    }
    const int descriptor = ::open("/dev/null", O_RDONLY);
    EXPECT_GE(descriptor, 0);
    ::close(descriptor);
}

TEST_F(DVHFSUncompressorTest, namesThatShareOneCompanion_areLeftAloneWhicheverIsGiven)
{
    CompressedSample::make(m_file, m_content);
    std::filesystem::create_hard_link(m_file, m_folder / "other");
    for (const Path &path : {m_file, m_folder / "other"}) {
        EXPECT_FALSE(expand(path)) << path;
        EXPECT_EQ(m_outcome.result, Outcome::ForkShared) << path;
        EXPECT_FALSE(m_outcome.isFlagLeftCleared);
    }
    EXPECT_FALSE(expandTo(m_folder / "other"));
    EXPECT_EQ(m_outcome.result, Outcome::ForkShared);
    expectStillCompressed(CompressedSample::fork(m_content));
    EXPECT_TRUE(std::filesystem::equivalent(m_file, m_folder / "other"));
}

TEST_F(DVHFSUncompressorTest, editedFile_isNeverReplacedByItsStaleFork)
{
    CompressedSample::make(m_file, m_content);
    write(m_file, bytesOf("edited"));
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_error.code, 705);
    EXPECT_FALSE(expand(true));
    EXPECT_EQ(m_outcome.result, Outcome::HasContent);
    EXPECT_EQ(contentOf(m_file), bytesOf("edited"));
    EXPECT_TRUE(expandTo(m_folder / "rescued", true)) << "but it can be had from it";
    EXPECT_EQ(contentOf(m_folder / "rescued"), m_content);
    EXPECT_EQ(contentOf(m_file), bytesOf("edited"));
}

TEST_F(DVHFSUncompressorTest, fileEmptiedAfterItsExpansion_staysEmpty)
{
    CompressedSample::make(m_file, m_content);
    ASSERT_TRUE(expand());
    write(m_file, {});
    write(companionOf(m_file), CompressedSample::companion(CompressedSample::fork(m_content)));
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_error.code, 705);
    EXPECT_EQ(contentOf(m_file), Bytes());
}

TEST_F(DVHFSUncompressorTest, companionReplacedMeanwhile_isKept)
{
    CompressedSample::make(m_file, m_content);
    const Bytes another = CompressedSample::companion(bytesOf("another fork"));
    MomentBeforeRename moment([&] {
        std::filesystem::remove(companionOf(m_file));
        write(companionOf(m_file), another);
    });
    const Override<FileLeases> override(moment);
    EXPECT_TRUE(expand());
    EXPECT_EQ(contentOf(m_file), m_content);
    EXPECT_EQ(contentOf(companionOf(m_file)), another);
    EXPECT_NE(m_outcome.reasonForkKept, "");
}

TEST_F(DVHFSUncompressorTest, fileWrittenMeanwhile_keepsWhatWasWritten)
{
    CompressedSample::make(m_file, m_content);
    MomentBeforeRename moment([&] { write(m_file, bytesOf("written meanwhile")); });
    const Override<FileLeases> override(moment);
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_outcome.result, Outcome::Changed);
    EXPECT_EQ(contentOf(m_file), bytesOf("written meanwhile"));
    EXPECT_THAT(names(m_folder), UnorderedElementsAre("file", "._file"));
    EXPECT_THAT(scratchFiles(), IsEmpty());
}

TEST_F(DVHFSUncompressorTest, fileReplacedMeanwhile_keepsTheNewOne)
{
    CompressedSample::make(m_file, m_content);
    MomentBeforeRename moment([&] {
        write(m_folder / "new", {});
        std::filesystem::rename(m_folder / "new", m_file);
    });
    const Override<FileLeases> override(moment);
    const FileStatus before = *FileSystem::current().status(m_file);
    EXPECT_FALSE(expand());
    EXPECT_EQ(contentOf(m_file), Bytes());
    EXPECT_NE(FileSystem::current().status(m_file)->identity, before.identity);
    EXPECT_FALSE(HFSCompression::isFileUFCompressed(m_file)) << "the flag is not the new one's";
    EXPECT_TRUE(std::filesystem::exists(companionOf(m_file)));
}

TEST_F(DVHFSUncompressorTest, brokenLease_keepsTheFileAsItIs)
{
    CompressedSample::make(m_file, m_content);
    MomentBeforeRename moment([] {}, true);
    const Override<FileLeases> override(moment);
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_outcome.result, Outcome::BeingWritten);
    expectStillCompressed(CompressedSample::fork(m_content));
}

TEST_F(DVHFSUncompressorTest, scratchFileOfACrash_isTakenAway)
{
    CompressedSample::make(m_file, m_content);
    std::string scratch;
    MomentBeforeRename moment([&] { scratch = scratchFiles().at(0); });
    {
        const Override<FileLeases> override(moment);
        ASSERT_TRUE(expand());
    }
    std::filesystem::remove(m_file);
    CompressedSample::make(m_file, m_content);
    write(temporaryFolder() / scratch, bytesOf("half of something"));
    EXPECT_TRUE(expand());
    EXPECT_EQ(contentOf(m_file), m_content);
    EXPECT_THAT(scratchFiles(), IsEmpty());
}

TEST_F(DVHFSUncompressorTest, whatAKilledExpansionLeft_isTakenAwayByTheNextThoughNothingIsToBeExpanded)
{
    CompressedSample::make(m_file, m_content);
    std::string scratch;
    MomentBeforeRename moment([&] { scratch = scratchFiles().at(0); });
    {
        const Override<FileLeases> override(moment);
        ASSERT_TRUE(expand());
    }
    FileHolder killed([&] {
        static const auto s_output = FileSystem::current().openScratchFile(temporaryFolder() / scratch, 0600);
        static const Result<NewFile> s_companion = NewFile::beside(companionOf(m_file), 0600);
        return s_output && s_companion;
    });
    ASSERT_TRUE(killed.isHolding());
    EXPECT_FALSE(expand());
    EXPECT_THAT(scratchFiles(), SizeIs(1)) << "its maker lives";
    EXPECT_THAT(names(m_folder), SizeIs(2));
    killed.release();
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_error.code, 705);
    EXPECT_THAT(scratchFiles(), IsEmpty());
    EXPECT_THAT(names(m_folder), ElementsAre("file"));
    EXPECT_EQ(contentOf(m_file), m_content);
}

TEST_F(DVHFSUncompressorTest, linkPlantedAsScratchFile_isNotFollowed)
{
    CompressedSample::make(m_file, m_content);
    const Path precious = m_folder / "precious";
    write(precious, bytesOf("precious"));
    std::string scratch;
    {
        MomentBeforeRename moment([&] { scratch = scratchFiles().at(0); }, true);
        const Override<FileLeases> override(moment);
        ASSERT_FALSE(expand());
    }
    const Path planted = temporaryFolder() / scratch;
    std::filesystem::create_symlink(precious, planted);
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_outcome.result, Outcome::OutputRefused);
    EXPECT_EQ(contentOf(precious), bytesOf("precious"));
    EXPECT_TRUE(std::filesystem::is_symlink(planted));
}

TEST_F(DVHFSUncompressorTest, twoProcessesOnOnePath_endWithOneWholeFile)
{
    for (int round = 0; round < 20; ++round) {
        std::filesystem::remove(m_file);
        CompressedSample::make(m_file, m_content);
        pid_t children[2];
        for (pid_t &child : children) {
            child = ::fork();
            if (child == 0) {
                expand();
                ::_exit(0);
            }
        }
        for (const pid_t child : children)
            ASSERT_EQ(::waitpid(child, nullptr, 0), child);
        // Both can have been refused by the other's lock, and then the flag may be left cleared.
        if (contentOf(m_file) != m_content) {
            ASSERT_TRUE(expand(true)) << "round " << round;
        }
        ASSERT_EQ(contentOf(m_file), m_content) << "round " << round;
        ASSERT_THAT(scratchFiles(), IsEmpty());
    }
}

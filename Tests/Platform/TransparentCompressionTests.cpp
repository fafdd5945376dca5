#include "Platform/Linux/LinuxTransparentCompression.h"
#include "Tests/Support/BtrfsFixture.h"

#include <gmock/gmock.h>

#include <linux/fs.h>
#include <sys/ioctl.h>

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

using Ability = TransparentCompression::Ability;
using FolderState = TransparentCompression::FolderState;
using Wish = CompressibleFile::Wish;

static constexpr const char *kMark = "user.tamsel.compression";

class TransparentCompressionTest : public BtrfsFixture
{
protected:
    FolderState turnOn(const Path &folder) { return m_service.turnOn(folder).valueOr(FolderState(-1)); }
    bool turnOff(const Path &folder) { return m_service.turnOff(folder).valueOr(false); }
    std::vector<StoredExtent> extents(const Path &file) const
    {
        const auto opened = m_service.open(file);
        return opened ? (*opened)->extentsFrom(0).valueOr({}) : std::vector<StoredExtent>();
    }
    Path makeFolder(const char *name) const
    {
        EXPECT_EQ(::mkdir((m_folder / name).c_str(), 0755), 0);
        return m_folder / name;
    }
    /// A second file of the same bytes on the medium.
    void clone(const Path &file, const Path &copy) const
    {
        const Descriptor from(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
        const Descriptor to(::open(copy.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
        ASSERT_EQ(::ioctl(to.get(), FICLONE, from.get()), 0);
        ASSERT_EQ(::fsync(to.get()), 0);
    }

    LinuxTransparentCompression m_linux;
    TransparentCompression &m_service = m_linux;
    const Path m_file = m_folder / "file";
};

static const auto kCompressed = Field(&StoredExtent::isCompressed, true);
static const auto kPlain = Field(&StoredExtent::isCompressed, false);

TEST(NoCompressionTest, everything_isRefusedInItsWay)
{
    const Path folder = PrivateHome::current().makeFolder("ordinary");
    writeFile(folder / "file", "content");
    NoCompression none;
    EXPECT_EQ(*none.ability(folder), Ability::OtherFormat);
    EXPECT_EQ(none.turnOn(folder).failure().code, ErrorCode::NotSupported);
    EXPECT_FALSE(*none.isTurnedOn(folder));
    EXPECT_FALSE(*none.turnOff(folder));
    EXPECT_EQ(none.open(folder / "file").failure().code, ErrorCode::NotSupported);
}

TEST(NoCompressionTest, volumeInMemory_isAnsweredByIt)
{
    PrivateMounts mounts;
    const Path folder = PrivateHome::current().makeFolder("memory");
    if (!mounts.mountMemory(folder))
        GTEST_SKIP() << "this machine does not let the test mount a volume";
    LinuxTransparentCompression service;
    EXPECT_EQ(*service.ability(folder), Ability::OtherFormat);
    EXPECT_EQ(service.turnOn(folder).failure().code, ErrorCode::NotSupported);
    EXPECT_EQ(service.ability(folder / "gone").failure().code, ErrorCode::NotFound);
}

TEST_F(TransparentCompressionTest, ability_writableOrNot_isToldApart)
{
    EXPECT_EQ(*m_service.ability(m_folder), Ability::Compresses);
    m_user.reset();
    const Path shown = PrivateHome::current().makeFolder("shown");
    ASSERT_TRUE(m_mounts.bind(m_volume, shown) && m_mounts.makeReadOnly(shown));
    EXPECT_EQ(*m_service.ability(shown), Ability::ReadOnly);
}

TEST_F(TransparentCompressionTest, turnOn_folder_newFilesAreCompressed)
{
    write(m_folder / "before", CompressedSample::text(300000));
    EXPECT_EQ(turnOn(m_folder), FolderState::TurnedOn);
    write(m_file, CompressedSample::text(300000));
    EXPECT_THAT(extents(m_file), AllOf(SizeIs(3), Each(kCompressed)));
    EXPECT_THAT(extents(m_folder / "before"), Each(kPlain));
    EXPECT_EQ(turnOn(m_folder), FolderState::TurnedOn) << "once more";
}

TEST_F(TransparentCompressionTest, turnOff_turnedOnFolder_leavesNothingBehind)
{
    setAttribute(m_folder, "user.own", "value");
    ASSERT_EQ(turnOn(m_folder), FolderState::TurnedOn);
    EXPECT_TRUE(*m_service.isTurnedOn(m_folder));
    EXPECT_TRUE(turnOff(m_folder));
    EXPECT_FALSE(*m_service.isTurnedOn(m_folder));
    EXPECT_EQ(attribute(m_folder, kProperty), std::nullopt);
    EXPECT_EQ(attribute(m_folder, kMark), std::nullopt);
    EXPECT_EQ(attribute(m_folder, "user.own"), "value");
    EXPECT_FALSE(turnOff(m_folder)) << "there is nothing left to take back";
}

TEST_F(TransparentCompressionTest, turnOn_propertyOfSomebodyElse_staysTheirs)
{
    const std::pair<const char *, FolderState> rows[] = {
        {"zstd", FolderState::WasOn}, {"zlib", FolderState::WasOn}, {"none", FolderState::LeftAlone}};
    for (const auto &[value, state] : rows) {
        setAttribute(m_folder, kProperty, value);
        EXPECT_EQ(turnOn(m_folder), state) << value;
        EXPECT_FALSE(*m_service.isTurnedOn(m_folder)) << value;
        EXPECT_FALSE(turnOff(m_folder)) << value;
        EXPECT_EQ(attribute(m_folder, kProperty), value);
        EXPECT_EQ(attribute(m_folder, kMark), std::nullopt) << value;
    }
}

TEST_F(TransparentCompressionTest, turnOff_propertyChangedSince_leavesTheChange)
{
    ASSERT_EQ(turnOn(m_folder), FolderState::TurnedOn);
    setAttribute(m_folder, kProperty, "lzo");
    EXPECT_EQ(turnOn(m_folder), FolderState::LeftAlone);
    EXPECT_TRUE(turnOff(m_folder));
    EXPECT_EQ(attribute(m_folder, kProperty), "lzo");
    EXPECT_EQ(attribute(m_folder, kMark), std::nullopt);
}

TEST_F(TransparentCompressionTest, turnOn_propertyRemovedSince_isNotSetAgain)
{
    ASSERT_EQ(turnOn(m_folder), FolderState::TurnedOn);
    ASSERT_EQ(::removexattr(m_folder.c_str(), kProperty), 0);
    EXPECT_EQ(turnOn(m_folder), FolderState::LeftAlone);
    EXPECT_EQ(attribute(m_folder, kProperty), std::nullopt);
}

TEST_F(TransparentCompressionTest, folderMadeInATurnedOnOne_isOursAsWell)
{
    ASSERT_EQ(turnOn(m_folder), FolderState::TurnedOn);
    const Path inner = makeFolder("inner"), innermost = makeFolder("inner/most");
    ASSERT_EQ(attribute(innermost, kProperty), "zstd");
    EXPECT_EQ(turnOn(inner), FolderState::TurnedOn);
    EXPECT_TRUE(*m_service.isTurnedOn(innermost));
    EXPECT_TRUE(turnOff(innermost)) << "also where no pass had come by";
    EXPECT_TRUE(turnOff(inner));
    EXPECT_TRUE(turnOff(m_folder));
    for (const Path &folder : {innermost, inner, m_folder})
        EXPECT_EQ(attribute(folder, kProperty), std::nullopt) << folder;
}

TEST_F(TransparentCompressionTest, folderThatHadItBefore_staysItsOwners)
{
    const Path inner = makeFolder("inner");
    setAttribute(inner, kProperty, "zstd");
    setAttribute(m_folder, kProperty, "zstd");
    setAttribute(m_folder, kMark, "zstd 99999999999"); // turned on long after the inner one was made
    EXPECT_EQ(turnOn(inner), FolderState::WasOn);
    EXPECT_FALSE(turnOff(inner));
    EXPECT_EQ(attribute(inner, kProperty), "zstd");
}

TEST_F(TransparentCompressionTest, turningOnThatWasBrokenOff_isFinishedOrTakenBack)
{
    for (const bool isPropertySet : {false, true}) {
        for (const bool isTakenBack : {false, true}) {
            setAttribute(m_folder, kMark, "begun 1700000000");
            if (isPropertySet)
                setAttribute(m_folder, kProperty, "zstd");
            if (!isTakenBack) {
                EXPECT_EQ(turnOn(m_folder), FolderState::TurnedOn);
                EXPECT_EQ(attribute(m_folder, kMark), "zstd 1700000000") << "what was made meanwhile is ours";
            }
            EXPECT_TRUE(turnOff(m_folder));
            EXPECT_EQ(attribute(m_folder, kProperty), std::nullopt);
            EXPECT_EQ(attribute(m_folder, kMark), std::nullopt);
        }
    }
}

TEST_F(TransparentCompressionTest, foldersThatAreNotOurs_areRefused)
{
    m_user.reset();
    const Path theirs = m_volume / "theirs";
    ASSERT_TRUE(std::filesystem::create_directory(theirs));
    ASSERT_EQ(::chmod(theirs.c_str(), 0777), 0); // the system would allow it
    m_user.emplace();
    EXPECT_EQ(m_service.turnOn(theirs).failure().code, ErrorCode::Permission);
    std::filesystem::create_symlink(m_folder, m_volume / "link");
    EXPECT_EQ(m_service.turnOn(m_volume / "link").failure().code, ErrorCode::NotSupported);
    write(m_file, CompressedSample::text(1000));
    EXPECT_EQ(m_service.turnOn(m_file).failure().code, ErrorCode::NotSupported);
    EXPECT_EQ(m_service.turnOn(m_folder / "gone").failure().code, ErrorCode::NotFound);
}

TEST_F(TransparentCompressionTest, compress_file_onlyItsPlaceOnTheMediumChanges)
{
    write(m_file, CompressedSample::text(1000000));
    setAttribute(m_file, "user.own", "value");
    const timespec times[2] = {{1000000, 5}, {2000000, 7}}; // read last before it was written: reading would show
    ASSERT_EQ(::utimensat(AT_FDCWD, m_file.c_str(), times, 0), 0);
    ASSERT_EQ(::chmod(m_file.c_str(), 0640), 0);
    const std::string before = everythingOf(m_file);
    {
        const auto file = m_service.open(m_file);
        ASSERT_TRUE(file);
        Bytes buffer(100);
        EXPECT_EQ(*(*file)->readAt(0, buffer), 100u);
        EXPECT_TRUE((*file)->compress(0, 1000000));
        EXPECT_EQ(*(*file)->wish(), Wish::None);
    }
    EXPECT_THAT(extents(m_file), AllOf(SizeIs(8), Each(kCompressed)));
    EXPECT_TRUE(everythingOf(m_file) == before);
}

TEST_F(TransparentCompressionTest, compress_oneStretch_leavesTheOthers)
{
    write(m_file, CompressedSample::text(1 << 20));
    ASSERT_TRUE((*m_service.open(m_file))->compress(262144, 131072));
    EXPECT_THAT(extents(m_file), ElementsAre(kPlain, kCompressed, kPlain));
    EXPECT_EQ(extents(m_file)[1].offset, 262144u);
    EXPECT_EQ(extents(m_file)[1].length, 131072u);
}

TEST_F(TransparentCompressionTest, compress_contentStillInMemory_isCompressedToo)
{
    const Descriptor opened(::open(m_file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    const Bytes text = CompressedSample::text(500000);
    ASSERT_EQ(::write(opened.get(), text.data(), text.size()), ssize_t(text.size()));
    const auto file = m_service.open(m_file);
    ASSERT_THAT(*(*file)->extentsFrom(0), Not(IsEmpty()));
    ASSERT_TRUE((*file)->compress(0, text.size()));
    EXPECT_THAT(extents(m_file), AllOf(SizeIs(4), Each(kCompressed)));
}

TEST_F(TransparentCompressionTest, compress_fileThatMayNotBeWritten_isRefused)
{
    write(m_file, CompressedSample::text(300000));
    ASSERT_EQ(::chmod(m_file.c_str(), 0444), 0);
    const auto file = m_service.open(m_file);
    ASSERT_TRUE(file);
    EXPECT_EQ((*file)->compress(0, 300000).failure().code, ErrorCode::Permission);
    EXPECT_THAT(extents(m_file), Each(kPlain));
}

TEST_F(TransparentCompressionTest, writeAnew_stretch_liesElsewhereAndIsTheSame)
{
    write(m_file, noiseOf(500001)); // its end is in the middle of a block
    setAttribute(m_file, "user.own", "value");
    const std::string before = everythingOf(m_file);
    const std::vector<StoredExtent> whole = extents(m_file);
    const auto file = m_service.open(m_file);
    for (const auto &[offset, length] : {std::pair<ByteCount, ByteCount>{0, 131072}, {393216, 500001 - 393216}}) {
        const Result<void> done = (*file)->writeAnew(offset, length);
        EXPECT_TRUE(done) << (done ? "" : done.failure().context);
    }
    EXPECT_TRUE(everythingOf(m_file) == before);
    EXPECT_THAT(whole, SizeIs(1));
    EXPECT_THAT(extents(m_file), AllOf(SizeIs(3), Each(kPlain), Each(Field(&StoredExtent::isShared, false))))
        << "nothing is left of what it was written to first";
    EXPECT_EQ((*file)->writeAnew(393216, 131072).failure().code, ErrorCode::Busy) << "it is not so long";
}

TEST_F(TransparentCompressionTest, writeAnew_inAFolderThatCompresses_isNotCompressed)
{
    write(m_file, CompressedSample::text(300000));
    ASSERT_EQ(turnOn(m_folder), FolderState::TurnedOn);
    ASSERT_TRUE((*m_service.open(m_file))->writeAnew(0, 262144));
    EXPECT_THAT(extents(m_file), AllOf(SizeIs(2), Each(kPlain)));
}

TEST_F(TransparentCompressionTest, occupiedCompressed_isWhatItTakesInWholeBlocks)
{
    write(m_file, CompressedSample::text(300000));
    const auto file = m_service.open(m_file);
    EXPECT_EQ((*file)->stretchSize(), 131072u);
    EXPECT_EQ((*file)->occupiedCompressed(Bytes(131072)), 4096u);
    EXPECT_EQ((*file)->occupiedCompressed(noiseOf(131072)), 131072u);
    EXPECT_EQ((*file)->occupiedCompressed(noiseOf(130000)), 131072u);
    EXPECT_EQ((*file)->occupiedCompressed(Bytes(4096)), 4096u);
    EXPECT_EQ((*file)->occupiedCompressed(Bytes(4097)), 4096u);
    Bytes halfNoise = noiseOf(4096);
    halfNoise.resize(8192);
    EXPECT_EQ((*file)->occupiedCompressed(halfNoise), 8192u) << "a few bytes more than a block";
}

TEST_F(TransparentCompressionTest, open_whatIsNoFileOfThisUser_isRefused)
{
    m_user.reset();
    const Path theirs = m_folder / "theirs";
    write(theirs, CompressedSample::text(300000));
    ASSERT_EQ(::chmod(theirs.c_str(), 0666), 0);
    m_user.emplace();
    EXPECT_EQ(m_service.open(theirs).failure().code, ErrorCode::Permission);
    std::filesystem::create_symlink(theirs, m_folder / "link");
    EXPECT_EQ(m_service.open(m_folder / "link").failure().code, ErrorCode::NotSupported);
    EXPECT_EQ(m_service.open(m_folder).failure().code, ErrorCode::NotSupported);
    EXPECT_EQ(m_service.open(m_folder / "gone").failure().code, ErrorCode::NotFound);
}

TEST_F(TransparentCompressionTest, extents_holesAndRoomSetAside_areToldApart)
{
    const Descriptor opened(::open(m_file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    const Bytes text = CompressedSample::text(131072);
    ASSERT_EQ(::pwrite(opened.get(), text.data(), text.size(), 1 << 20), ssize_t(text.size()));
    ASSERT_EQ(::fallocate(opened.get(), FALLOC_FL_KEEP_SIZE, 4 << 20, 1 << 20), 0);
    const std::vector<StoredExtent> found = extents(m_file);
    ASSERT_THAT(found, SizeIs(2));
    EXPECT_EQ(found[0].offset, ByteCount(1 << 20));
    EXPECT_EQ(found[0].end(), ByteCount((1 << 20) + 131072));
    EXPECT_TRUE(found[0].isWritten);
    EXPECT_EQ(found[1].offset, ByteCount(4 << 20));
    EXPECT_FALSE(found[1].isWritten);
}

TEST_F(TransparentCompressionTest, extents_cloneAndSmallFile_areToldApart)
{
    write(m_file, CompressedSample::text(300000));
    EXPECT_THAT(extents(m_file), Each(Field(&StoredExtent::isShared, false)));
    clone(m_file, m_folder / "clone");
    EXPECT_THAT(extents(m_file), AllOf(SizeIs(1), Each(Field(&StoredExtent::isShared, true))));
    write(m_folder / "small", CompressedSample::text(1000));
    EXPECT_THAT(extents(m_folder / "small"), ElementsAre(Field(&StoredExtent::isEmbedded, true)));
}

TEST_F(TransparentCompressionTest, extents_manyOfThem_areReadPieceByPiece)
{
    constexpr int kExtents = 300;
    const Descriptor opened(::open(m_file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    for (int index = 0; index < kExtents; ++index)
        ASSERT_EQ(::pwrite(opened.get(), "content", 7, index * 8192), 7);
    const auto file = m_service.open(m_file);
    int count = 0;
    ByteCount offset = 0;
    for (;;) {
        const std::vector<StoredExtent> piece = (*file)->extentsFrom(offset).valueOr({});
        if (piece.empty())
            break;
        for (const StoredExtent &extent : piece)
            EXPECT_EQ(extent.offset, ByteCount(count++) * 8192);
        offset = piece.back().end();
    }
    EXPECT_EQ(count, kExtents);
}

TEST_F(TransparentCompressionTest, file_wishesAndRoom_areTheVolumes)
{
    write(m_file, CompressedSample::text(300000));
    EXPECT_EQ(*(*m_service.open(m_file))->wish(), Wish::None);
    setAttribute(m_file, kProperty, "none");
    EXPECT_EQ(*(*m_service.open(m_file))->wish(), Wish::LeaveAlone);
    setAttribute(m_file, kProperty, "zlib");
    EXPECT_EQ(*(*m_service.open(m_file))->wish(), Wish::Compress);
    EXPECT_FALSE(*(*m_service.open(m_file))->isWrittenInPlace());
    EXPECT_EQ((*m_service.open(m_file))->blockSize(), 4096u);
    const Result<VolumeRoom> room = (*m_service.open(m_file))->room();
    EXPECT_GT(room->available, 0u);
    EXPECT_GT(room->total, room->available);

    const Path inPlace = m_folder / "inPlace";
    const Descriptor opened(::open(inPlace.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    int flags = FS_NOCOW_FL;
    ASSERT_EQ(::ioctl(opened.get(), FS_IOC_SETFLAGS, &flags), 0);
    EXPECT_TRUE(*(*m_service.open(inPlace))->isWrittenInPlace());
}

#include "Platform/Formats/CompressedFile.h"
#include "Tests/Platform/FileSystemWorlds.h"

#include <algorithm>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

/// Flags, attributes and forks: what holds for every file system.
template <class World>
class CompressedFileContract : public FileSystemContract<World>
{
protected:
    Path path(const std::string &name = "file") const { return this->at(name); }

    void makeCompressed(const std::string &name, ByteView content)
    {
        this->create(name, "");
        this->m_world.setFork(this->at(name), CompressedSample::fork(content));
        set(name, kDecmpfsAttribute, CompressedSample::decmpfs(content.size()));
        ASSERT_TRUE(this->m_files.setFlags(this->at(name), kCompressedFlag));
    }
    void set(const std::string &name, const std::string &attribute, ByteView value)
    {
        ASSERT_TRUE(this->m_files.setAttribute(this->at(name), attribute, value, Links::NotFollow));
    }
    std::vector<std::string> attributes(const std::string &name) const
    {
        return this->m_files.attributeNames(this->at(name), Links::NotFollow).valueOr({"unreadable"});
    }
    Result<Bytes> get(const std::string &name, const std::string &attribute) const
    {
        return this->m_files.attribute(this->at(name), attribute, Links::NotFollow);
    }
};

TYPED_TEST_SUITE(CompressedFileContract, Worlds, WorldName);

TYPED_TEST(CompressedFileContract, attributes_ofPlainFile_areNone)
{
    this->create("file", "content");
    EXPECT_THAT(this->attributes("file"), IsEmpty());
    EXPECT_EQ(this->get("file", "any").failure().code, ErrorCode::NotFound);
    EXPECT_EQ(this->m_files.removeAttribute(this->path(), "any", Links::NotFollow).failure().code, ErrorCode::NotFound);
}

TYPED_TEST(CompressedFileContract, attributes_ofMissingFile_areNotFound)
{
    EXPECT_EQ(this->m_files.attributeNames(this->path(), Links::Follow).failure().code, ErrorCode::NotFound);
    EXPECT_EQ(this->get("file", "any").failure().code, ErrorCode::NotFound);
    EXPECT_EQ(this->m_files.setAttribute(this->path(), "any", {}, Links::Follow).failure().code, ErrorCode::NotFound);
}

TYPED_TEST(CompressedFileContract, attribute_written_isReadAndListedWithoutPrefix)
{
    this->create("file", "content");
    const Bytes value = {0, 1, 255, 0};
    this->set("file", "com.dovrane.one", value);
    this->set("file", "empty", {});
    EXPECT_EQ(*this->get("file", "com.dovrane.one"), value);
    EXPECT_THAT(*this->get("file", "empty"), IsEmpty());
    EXPECT_THAT(this->attributes("file"), UnorderedElementsAre("com.dovrane.one", "empty"));
}

TYPED_TEST(CompressedFileContract, attribute_writtenTwice_hasTheSecondValue)
{
    this->create("file", "");
    this->set("file", "name", bytesOf("a long first value"));
    this->set("file", "name", bytesOf("second"));
    EXPECT_EQ(stringOf(*this->get("file", "name")), "second");
}

TYPED_TEST(CompressedFileContract, attribute_removed_isGone)
{
    this->create("file", "");
    this->set("file", "name", bytesOf("value"));
    EXPECT_TRUE(this->m_files.removeAttribute(this->path(), "name", Links::NotFollow));
    EXPECT_THAT(this->attributes("file"), IsEmpty());
}

TYPED_TEST(CompressedFileContract, attribute_upTo64KiB_isKept)
{
    this->create("file", "");
    const Bytes large = CompressedSample::text(65536);
    this->set("file", "small", bytesOf("value"));
    this->set("file", "large", large);
    EXPECT_EQ(*this->get("file", "large"), large);
    EXPECT_THAT(this->attributes("file"), UnorderedElementsAre("small", "large"));
    const Result<void> larger = this->m_files.setAttribute(this->path(), "large", Bytes(65537), Links::NotFollow);
    EXPECT_EQ(larger.failure().code, ErrorCode::TooLarge);
    EXPECT_EQ(*this->get("file", "large"), large);
}

TYPED_TEST(CompressedFileContract, attribute_growingAndShrinking_hasAlwaysTheLastValue)
{
    this->create("file", "");
    for (const std::size_t size : {10u, 60000u, 20u, 50000u, 30u}) {
        this->set("file", "name", CompressedSample::text(size));
        EXPECT_EQ(*this->get("file", "name"), CompressedSample::text(size)) << size;
        EXPECT_THAT(this->attributes("file"), ElementsAre("name")) << size;
    }
    EXPECT_TRUE(this->m_files.removeAttribute(this->path(), "name", Links::NotFollow));
    EXPECT_THAT(this->attributes("file"), IsEmpty());
    EXPECT_THAT(this->names(), ElementsAre("file"));
}

TYPED_TEST(CompressedFileContract, attribute_ofLink_isNotThatOfTheTarget)
{
    this->create("file", "");
    this->m_world.addLink(this->at("link"), "file");
    this->set("file", "name", bytesOf("target"));
    EXPECT_THAT(this->attributes("link"), IsEmpty());
    EXPECT_EQ(this->get("link", "name").failure().code, ErrorCode::NotFound);
    const Result<void> written = this->m_files.setAttribute(this->at("link"), "name", {}, Links::NotFollow);
    EXPECT_EQ(written.failure().code, ErrorCode::Permission);
}

TYPED_TEST(CompressedFileContract, attribute_throughLink_isThatOfTheTarget)
{
    this->create("file", "");
    this->m_world.addLink(this->at("link"), "file");
    const Bytes large = CompressedSample::text(20000);
    ASSERT_TRUE(this->m_files.setAttribute(this->at("link"), "name", large, Links::Follow));
    EXPECT_EQ(*this->get("file", "name"), large);
    EXPECT_EQ(*this->m_files.attribute(this->at("link"), "name", Links::Follow), large);
    EXPECT_THAT(*this->m_files.attributeNames(this->at("link"), Links::Follow), ElementsAre("name"));
}

TYPED_TEST(CompressedFileContract, flags_neverWritten_areZero)
{
    this->create("empty", "");
    this->create("full", "content");
    EXPECT_EQ(*this->m_files.flags(this->at("empty")), 0u);
    EXPECT_EQ(*this->m_files.flags(this->at("full")), 0u);
    EXPECT_EQ(*this->m_files.flags(this->m_world.root), 0u);
    EXPECT_EQ(this->m_files.flags(this->at("none")).failure().code, ErrorCode::NotFound);
}

TYPED_TEST(CompressedFileContract, flags_written_areReadAndNeverListed)
{
    this->create("file", "");
    ASSERT_TRUE(this->m_files.setFlags(this->path(), 0x8020));
    EXPECT_EQ(*this->m_files.flags(this->path()), 0x8020u);
    ASSERT_TRUE(this->m_files.setFlags(this->path(), 0));
    EXPECT_EQ(*this->m_files.flags(this->path()), 0u);
    EXPECT_THAT(this->attributes("file"), IsEmpty());
}

TYPED_TEST(CompressedFileContract, flags_compressedButWrittenTo_areNotCompressed)
{
    this->create("file", "content");
    ASSERT_TRUE(this->m_files.setFlags(this->path(), kCompressedFlag));
    EXPECT_EQ(*this->m_files.flags(this->path()), 0u);
    EXPECT_EQ(*this->m_files.logicalSize(this->path()), 7u);
}

TYPED_TEST(CompressedFileContract, flags_ofLink_areNotThoseOfTheTarget)
{
    this->create("file", "");
    this->m_world.addLink(this->at("link"), "file");
    ASSERT_TRUE(this->m_files.setFlags(this->path(), kCompressedFlag));
    EXPECT_EQ(*this->m_files.flags(this->at("link")), 0u);
    EXPECT_EQ(this->m_files.setFlags(this->at("link"), kCompressedFlag).failure().code, ErrorCode::Permission);
}

TYPED_TEST(CompressedFileContract, flags_ofDirectory_areNeverCompressed)
{
    ASSERT_TRUE(this->m_files.setFlags(this->m_world.root, 0x8000 | kCompressedFlag));
    EXPECT_EQ(*this->m_files.flags(this->m_world.root), 0x8000u);
}

TYPED_TEST(CompressedFileContract, resourceFork_missing_isNotFound)
{
    this->create("file", "content");
    EXPECT_EQ(this->m_files.openResourceFork(this->path()).failure().code, ErrorCode::NotFound);
    EXPECT_EQ(this->m_files.openResourceFork(this->at("none")).failure().code, ErrorCode::NotFound);
    EXPECT_EQ(this->m_files.openResourceFork(this->m_world.root).failure().code, ErrorCode::NotFound);
}

TYPED_TEST(CompressedFileContract, resourceFork_isReadAtAnyPlace)
{
    const Bytes content = CompressedSample::text(200000);
    this->create("file", "");
    this->m_world.setFork(this->path(), content);
    const auto fork = this->m_files.openResourceFork(this->path());
    ASSERT_TRUE(fork);
    EXPECT_EQ((*fork)->size(), content.size());
    for (const ByteCount offset : {0u, 1u, 65535u, 199990u, 200000u, 200001u}) {
        Bytes window(100, 0xAA);
        const Result<std::size_t> got = (*fork)->readAt(offset, window);
        ASSERT_TRUE(got);
        const std::size_t expected = offset < 200000 ? std::min<std::size_t>(100, 200000 - offset) : 0;
        EXPECT_EQ(*got, expected) << offset;
        EXPECT_TRUE(std::equal(window.begin(), window.begin() + std::ptrdiff_t(*got),
                               content.begin() + std::ptrdiff_t(std::min<std::size_t>(offset, 200000))));
    }
    Bytes window(10);
    EXPECT_EQ((*fork)->readAt(~ByteCount{0}, window).valueOr(99), 0u);
}

TYPED_TEST(CompressedFileContract, logicalSize_compressed_isThatOfTheHeader)
{
    this->makeCompressed("file", CompressedSample::text(150000));
    EXPECT_EQ(*this->m_files.flags(this->path()), kCompressedFlag);
    EXPECT_EQ(*this->m_files.logicalSize(this->path()), 150000u);
}

TYPED_TEST(CompressedFileContract, logicalSize_claimedTooLarge_isBoundedByTheBlocks)
{
    this->makeCompressed("file", CompressedSample::text(100000));
    this->set("file", kDecmpfsAttribute, CompressedSample::decmpfs(~std::uint64_t{0}));
    EXPECT_EQ(*this->m_files.logicalSize(this->path()), 2 * kCompressionBlockSize);
}

TYPED_TEST(CompressedFileContract, logicalSize_withoutHeader_cannotBeSaid)
{
    this->makeCompressed("file", CompressedSample::text(1000));
    this->set("file", kDecmpfsAttribute, bytesOf("not a header, but long enough"));
    EXPECT_EQ(this->m_files.logicalSize(this->path()).failure().code, ErrorCode::Corrupt);
    ASSERT_TRUE(this->m_files.removeAttribute(this->path(), kDecmpfsAttribute, Links::NotFollow));
    EXPECT_FALSE(this->m_files.logicalSize(this->path()));
}

TYPED_TEST(CompressedFileContract, logicalSize_withoutFork_isZero)
{
    this->create("file", "");
    this->set("file", kDecmpfsAttribute, CompressedSample::decmpfs(5000));
    ASSERT_TRUE(this->m_files.setFlags(this->path(), kCompressedFlag));
    EXPECT_EQ(*this->m_files.logicalSize(this->path()), 0u);
}

TYPED_TEST(CompressedFileContract, occupiedSize_compressed_countsTheFork)
{
    const Bytes content = CompressedSample::text(500000);
    this->makeCompressed("file", content);
    const ByteCount occupied = *this->m_files.occupiedSize(this->path());
    EXPECT_GE(occupied, CompressedSample::fork(content).size());
    EXPECT_LT(occupied, content.size());
    EXPECT_EQ(this->m_files.occupiedSize(this->at("none")).failure().code, ErrorCode::NotFound);
}

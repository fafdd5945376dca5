#include "Platform/Formats/AppleDouble.h"

#include "Platform/Formats/MemoryFork.h"
#include "Tests/Support/CompressedSample.h"

#include <gmock/gmock.h>

#include <algorithm>

using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Everything that a layout points to, read from the file.
static Bytes read(const Bytes &file, const ByteRange &range)
{
    const auto begin = file.begin() + std::ptrdiff_t(range.offset);
    return Bytes(begin, begin + std::ptrdiff_t(range.length));
}

static Bytes written(const AppleDoubleContent &content, const Bytes &fork)
{
    Result<Bytes> file = appleDoubleHead(content, fork.size());
    EXPECT_TRUE(file);
    file->insert(file->end(), fork.begin(), fork.end());
    return *file;
}

static AppleDoubleContent fullContent()
{
    AppleDoubleContent content;
    content.finderInformation.emplace().fill(7);
    content.attributes = {{"com.apple.decmpfs", CompressedSample::decmpfs(100)}, {"x", {}}, {"yy", Bytes(5000, 9)}};
    content.others = {{3, bytesOf("a name")}, {15, Bytes(4)}};
    return content;
}

static std::string complaint(const Bytes &file)
{
    const auto layout = readAppleDouble(MemoryFork(file));
    if (layout)
        return "none";
    EXPECT_EQ(layout.failure().code, ErrorCode::Corrupt);
    return layout.failure().context;
}

TEST(AppleDouble, forkAlone_isFoundWhereItLies)
{
    const Bytes file = CompressedSample::companion(bytesOf("fork"));
    const auto layout = readAppleDouble(MemoryFork(file));
    ASSERT_TRUE(layout);
    ASSERT_TRUE(layout->resourceFork);
    EXPECT_EQ(stringOf(read(file, *layout->resourceFork)), "fork");
    EXPECT_FALSE(layout->finderInformation);
    EXPECT_THAT(layout->attributes, IsEmpty());
    EXPECT_TRUE(layout->isWhollyUnderstood);
}

TEST(AppleDouble, everything_written_isReadBack)
{
    const AppleDoubleContent content = fullContent();
    const Bytes file = written(content, bytesOf("the fork"));
    const auto layout = readAppleDouble(MemoryFork(file));
    ASSERT_TRUE(layout) << layout.failure().context;
    EXPECT_EQ(read(file, *layout->finderInformation), Bytes(32, 7));
    ASSERT_EQ(layout->attributes.size(), content.attributes.size());
    for (const auto &attribute : content.attributes)
        EXPECT_EQ(read(file, layout->attribute(attribute.name)->value), attribute.value) << attribute.name;
    EXPECT_EQ(layout->attribute("none"), nullptr);
    ASSERT_EQ(layout->others.size(), 2u);
    EXPECT_EQ(layout->others[0].identifier, 3u);
    EXPECT_EQ(stringOf(read(file, layout->others[0].content)), "a name");
    EXPECT_EQ(stringOf(read(file, *layout->resourceFork)), "the fork");
}

TEST(AppleDouble, attributes_written_standWhereMacsLookForThem)
{
    AppleDoubleContent content;
    content.attributes = {{"abc", bytesOf("value")}};
    const Bytes file = written(content, bytesOf("fork"));
    // Two entries end at 50, the Finder information at 82, two bytes of padding follow.
    EXPECT_EQ(stringOf(ByteView(file).subspan(84, 4)), "ATTR");
    const Bytes header(file.begin() + 92, file.begin() + 104);
    EXPECT_EQ(header, Bytes({0, 0, 0, 141, 0, 0, 0, 136, 0, 0, 0, 5})) << "total size, data start, data length";
    EXPECT_EQ(Bytes(file.begin() + 116, file.begin() + 120), Bytes({0, 0, 0, 1})) << "flags and count";
    const Bytes entry(file.begin() + 120, file.begin() + 136);
    EXPECT_EQ(entry, Bytes({0, 0, 0, 136, 0, 0, 0, 5, 0, 0, 4, 'a', 'b', 'c', 0, 0}));
    EXPECT_EQ(stringOf(ByteView(file).subspan(136)), "valuefork");
}

TEST(AppleDouble, nothingWritten_hasNoEntries)
{
    const Bytes file = written({}, {});
    EXPECT_EQ(file.size(), 26u);
    EXPECT_TRUE(AppleDoubleContent().isEmpty());
    EXPECT_TRUE(readAppleDouble(MemoryFork(file)));
}

TEST(AppleDouble, cutAnywhere_isCorruptAndNeverReadPastTheEnd)
{
    const Bytes file = written(fullContent(), bytesOf("the fork"));
    for (std::size_t length = 0; length < file.size(); ++length)
        EXPECT_THAT(complaint(Bytes(file.begin(), file.begin() + std::ptrdiff_t(length))), HasSubstr("companion"))
            << length;
}

TEST(AppleDouble, anyByteOfTheHeadChanged_isReadWithinTheFileOrRefused)
{
    const Bytes sound = written(fullContent(), bytesOf("the fork"));
    for (std::size_t at = 0; at < 300; ++at) {
        for (const int value : {0, 1, 127, 128, 255}) {
            Bytes file = sound;
            file[at] = std::uint8_t(value);
            const auto layout = readAppleDouble(MemoryFork(file));
            if (!layout)
                continue;
            for (const auto &attribute : layout->attributes) {
                ASSERT_LE(attribute.value.offset, file.size());
                ASSERT_LE(attribute.value.length, file.size() - attribute.value.offset);
            }
        }
    }
}

TEST(AppleDouble, contradictions_areRefused)
{
    const Bytes one = CompressedSample::companion(bytesOf("fork"));
    Bytes file = one;
    file[3] = 0; // magic
    EXPECT_THAT(complaint(file), HasSubstr("no AppleDouble"));
    file = one;
    file[5] = 1; // version 1
    EXPECT_THAT(complaint(file), HasSubstr("no AppleDouble"));
    file = one;
    file[24] = 0xFF; // entries
    EXPECT_THAT(complaint(file), HasSubstr("no room for its entries"));
    file = one;
    file[30] = file[31] = file[32] = file[33] = 0xFF; // offset
    EXPECT_THAT(complaint(file), HasSubstr("outside"));
    file = one;
    file[29] = 9; // Finder information of four bytes
    EXPECT_THAT(complaint(file), HasSubstr("too short"));
}

TEST(AppleDouble, sameThingTwice_isRefused)
{
    AppleDoubleContent content;
    content.attributes = {{"one", {}}, {"one", {}}};
    EXPECT_THAT(complaint(written(content, {})), HasSubstr("one name"));
    content = {};
    content.others = {{kResourceForkEntry, bytesOf("a")}};
    EXPECT_THAT(complaint(written(content, bytesOf("b"))), HasSubstr("two resource forks"));
}

TEST(AppleDouble, bytesBehindTheFinderInformation_areKnownToBeLost)
{
    AppleDoubleContent content;
    content.others = {{kFinderInformationEntry, Bytes(100)}};
    auto layout = readAppleDouble(MemoryFork(written(content, {})));
    ASSERT_TRUE(layout);
    EXPECT_TRUE(layout->isWhollyUnderstood) << "zeros are padding";
    content.others[0].content[90] = 1;
    layout = readAppleDouble(MemoryFork(written(content, {})));
    ASSERT_TRUE(layout);
    EXPECT_FALSE(layout->isWhollyUnderstood);
}

TEST(AppleDouble, bytesFarBehindTheFinderInformation_areKnownToBeLostWithoutALook)
{
    AppleDoubleContent content;
    content.others = {{kFinderInformationEntry, Bytes(32 + 65536)}};
    EXPECT_TRUE(readAppleDouble(MemoryFork(written(content, {})))->isWhollyUnderstood);
    content.others = {{kFinderInformationEntry, Bytes(32 + 65537)}};
    EXPECT_FALSE(readAppleDouble(MemoryFork(written(content, {})))->isWhollyUnderstood);
}

TEST(AppleDouble, flagsOfAnAttribute_areKnownToBeLost)
{
    const AppleDoubleContent content{std::nullopt, {{"name", bytesOf("value")}}, {}};
    Bytes file = written(content, {});
    const auto name = std::search(file.begin(), file.end(), std::begin("name"), std::end("name"));
    ASSERT_NE(name, file.end());
    EXPECT_TRUE(readAppleDouble(MemoryFork(file))->isWhollyUnderstood);
    *(name - 2) = 1; // the low byte of the flags, before the length of the name
    const auto layout = readAppleDouble(MemoryFork(file));
    ASSERT_TRUE(layout);
    EXPECT_FALSE(layout->isWhollyUnderstood);
}

TEST(AppleDouble, attributeTable_endsWhereMacsEndIt)
{
    AppleDoubleContent content;
    for (int number = 0; number < 244; ++number)
        content.attributes.push_back({"name" + std::string(247, 'n') + std::to_string(100 + number), bytesOf("v")});
    const Bytes file = written(content, bytesOf("fork"));
    EXPECT_EQ(readAppleDouble(MemoryFork(file))->attributes.size(), 244u);
    content.attributes.push_back({std::string(254, 'm'), {}});
    EXPECT_EQ(appleDoubleHead(content, 0).failure().code, ErrorCode::TooLarge) << "nobody could read it";
    Bytes longer = file;
    longer[119] = 245; // the number of attributes: what follows the table is none
    EXPECT_THAT(complaint(longer), HasSubstr("an attribute"));
}

TEST(AppleDouble, namesAndForksBeyondTheFormat_areRefusedByTheWriter)
{
    AppleDoubleContent content;
    content.attributes = {{std::string(254, 'n'), {}}};
    EXPECT_EQ(complaint(written(content, {})), "none");
    content.attributes = {{std::string(255, 'n'), {}}};
    EXPECT_EQ(appleDoubleHead(content, 0).failure().code, ErrorCode::TooLarge);
    EXPECT_EQ(appleDoubleHead({}, ByteCount{1} << 32).failure().code, ErrorCode::TooLarge);
    EXPECT_TRUE(appleDoubleHead({}, (ByteCount{1} << 32) - 1 - 38));
}

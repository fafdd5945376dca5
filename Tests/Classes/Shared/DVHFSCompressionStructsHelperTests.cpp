#include "Classes/Shared/DVHFSCompressionStructsHelper.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <utility>

using Helper = DVHFSCompressionStructsHelper;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

/// Offset and length, in bytes.
static constexpr std::pair<int, int> kFlippedInFooter[] = {{24, 2}, {26, 2}, {28, 2}, {30, 4}, {34, 4}};

template <class T>
static Bytes bytesIn(const T &structure)
{
    Bytes bytes(sizeof structure);
    std::memcpy(bytes.data(), &structure, bytes.size());
    return bytes;
}

TEST(DVHFSCompressionStructsHelper, blocksRequired_atTheEdges_areTheNumberOf64KiB)
{
    EXPECT_EQ(Helper::blocksRequiredForUncompressedSize(0), 0);
    EXPECT_EQ(Helper::blocksRequiredForUncompressedSize(1), 1);
    EXPECT_EQ(Helper::blocksRequiredForUncompressedSize(65535), 1);
    EXPECT_EQ(Helper::blocksRequiredForUncompressedSize(65536), 1);
    EXPECT_EQ(Helper::blocksRequiredForUncompressedSize(65537), 2);
    EXPECT_EQ(Helper::blocksRequiredForUncompressedSize(std::int64_t{1} << 40), std::int64_t{1} << 24);
}

TEST(DVHFSCompressionStructsHelper, blocksRequired_belowZero_roundTowardsZero)
{
    EXPECT_EQ(Helper::blocksRequiredForUncompressedSize(-1), 0);
    EXPECT_EQ(Helper::blocksRequiredForUncompressedSize(-65535), 0);
    EXPECT_EQ(Helper::blocksRequiredForUncompressedSize(-131070), 0);
    EXPECT_EQ(Helper::blocksRequiredForUncompressedSize(-131071), -1);
}

TEST(DVHFSCompressionStructsHelper, decmpfs_hasSixteenBytesInFileOrder)
{
    const auto header = Helper::createDecmpfsStructForSize(0x0102030405060708);
    Helper::flipHFSPlusDecmpfs(header.get());
    EXPECT_THAT(bytesIn(*header), ElementsAre('f', 'p', 'm', 'c', 4, 0, 0, 0, 8, 7, 6, 5, 4, 3, 2, 1));
}

TEST(DVHFSCompressionStructsHelper, resourceHeader_isThatOfAForkWithoutBlocks)
{
    const auto head = Helper::createResourceHeader();
    EXPECT_EQ(head->dataOffset, 256u);
    EXPECT_EQ(head->mapOffset, 264u);
    EXPECT_EQ(head->dataLength, 8u);
    EXPECT_EQ(head->mapLength, 50u);
    Helper::flipRsrcHead(head.get());
    EXPECT_THAT(bytesIn(*head), ElementsAre(0, 0, 1, 0, 0, 0, 1, 8, 0, 0, 0, 8, 0, 0, 0, 50));
    Helper::flipRsrcHead(head.get());
    EXPECT_EQ(bytesIn(*head), bytesIn(*Helper::createResourceHeader()));
}

TEST(DVHFSCompressionStructsHelper, blockHead_flipped_keepsTheCountAsItIs)
{
    const auto head = Helper::createBlocksHeader();
    EXPECT_THAT(bytesIn(*head), ElementsAreArray(Bytes(8)));
    head->dataSize = 0x01020304;
    head->numBlocks = 0x05060708;
    Helper::flipRsrcBlockHead(head.get());
    EXPECT_THAT(bytesIn(*head), ElementsAre(1, 2, 3, 4, 8, 7, 6, 5));
    Helper::flipRsrcBlockHead(head.get());
    EXPECT_EQ(head->dataSize, 0x01020304u);
    EXPECT_EQ(head->numBlocks, 0x05060708u);
}

TEST(DVHFSCompressionStructsHelper, block_flipped_isUnchanged)
{
    const auto block = Helper::createPerBlockHeader();
    EXPECT_THAT(bytesIn(*block), ElementsAreArray(Bytes(8)));
    *block = {0x01020304, 0x05060708};
    Helper::flipRsrcBlock(block.get());
    EXPECT_THAT(bytesIn(*block), ElementsAre(4, 3, 2, 1, 8, 7, 6, 5));
}

TEST(DVHFSCompressionStructsHelper, blockTable_forNoBlocks_isNone)
{
    EXPECT_EQ(Helper::createPerBlockHeadersForBlocks(0), nullptr);
    EXPECT_EQ(Helper::createPerBlockHeadersForSize(0), nullptr);
}

TEST(DVHFSCompressionStructsHelper, blockTable_forThree_beginsBehindItself)
{
    const auto table = Helper::createPerBlockHeadersForBlocks(3);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table[0].blockOffset, 28u);
    EXPECT_EQ(table[0].blockSize, 0u);
    for (const int index : {1, 2})
        EXPECT_THAT(bytesIn(table[index]), ElementsAreArray(Bytes(8))) << index;
}

TEST(DVHFSCompressionStructsHelper, blockTable_forSize_hasItsBlocks)
{
    EXPECT_EQ(Helper::createPerBlockHeadersForSize(65537)[0].blockOffset, 20u);
    // Only the low 32 bits of the count are kept: 2^32 + 1 blocks make one.
    EXPECT_EQ(Helper::createPerBlockHeadersForSize((std::uint64_t{1} << 48) + 1)[0].blockOffset, 12u);
}

TEST(DVHFSCompressionStructsHelper, footer_flipped_isTheResourceMapOfTheFile)
{
    const auto end = Helper::createFooter();
    EXPECT_EQ(std::uint16_t(end->typeListOffset), 28);
    EXPECT_EQ(std::uint16_t(end->nameListOffset), 50);
    EXPECT_EQ(std::uint32_t(end->resourceType), 0x636D7066u);
    const Bytes built = bytesIn(*end);
    Helper::flipHFSPlusCmpfEnd(end.get());
    Bytes expected(24);
    for (const int byte :
         {0, 0x1C, 0, 0x32, 0, 0, 0x63, 0x6D, 0x70, 0x66, 0, 0, 0, 0x0A, 0, 1, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0})
        expected.push_back(std::uint8_t(byte));
    EXPECT_THAT(bytesIn(*end), ElementsAreArray(expected));
    Helper::flipHFSPlusCmpfEnd(end.get());
    EXPECT_EQ(bytesIn(*end), built);
}

TEST(DVHFSCompressionStructsHelper, footer_flipped_changesTheseFieldsAndNoOther)
{
    Bytes numbered(sizeof(HFSPlusCmpfEnd));
    std::iota(numbered.begin(), numbered.end(), std::uint8_t(1));
    HFSPlusCmpfEnd end;
    std::memcpy(&end, numbered.data(), numbered.size());
    Helper::flipHFSPlusCmpfEnd(&end);
    Bytes expected = numbered;
    for (const auto &[offset, length] : kFlippedInFooter)
        std::reverse(expected.begin() + offset, expected.begin() + offset + length);
    EXPECT_EQ(bytesIn(end), expected);
    Helper::flipHFSPlusCmpfEnd(&end);
    EXPECT_EQ(bytesIn(end), numbered);
}

#include "Classes/PrefPane/PXSortDescriptor.h"

#include <gmock/gmock.h>

static constexpr auto kAscending = ComparisonResult::Ascending;
static constexpr auto kSame = ComparisonResult::Same;
static constexpr auto kDescending = ComparisonResult::Descending;
using Selector = SortDescriptor::Selector;

static HistoryEntry entry(std::uint64_t sortID, ByteCount savings, const std::string &path = "/a")
{
    return {sortID, path, path, 0, savings, std::nullopt};
}

TEST(PXSortDescriptor, otherRow_goesLastInBothDirections)
{
    for (const bool isAscending : {true, false}) {
        const PXSortDescriptor descriptor(HistoryEntry::kSavings, isAscending);
        for (const ByteCount savings : {0U, 5U, 9U}) {
            EXPECT_EQ(descriptor.compareObject(entry(1, savings), entry(0, 5)), kDescending);
            EXPECT_EQ(descriptor.compareObject(entry(0, 5), entry(1, savings)), kAscending);
        }
    }
}

TEST(PXSortDescriptor, twoOtherRows_firstGoesLast)
{
    for (const bool isAscending : {true, false}) {
        const PXSortDescriptor descriptor(HistoryEntry::kSavings, isAscending);
        EXPECT_EQ(descriptor.compareObject(entry(1, 1), entry(1, 2)), kDescending);
        EXPECT_EQ(descriptor.compareObject(entry(1, 2), entry(1, 1)), kDescending);
    }
}

TEST(PXSortDescriptor, folders_followTheDirection)
{
    const PXSortDescriptor up(HistoryEntry::kSavings);
    const PXSortDescriptor down(HistoryEntry::kSavings, false);
    EXPECT_EQ(up.compareObject(entry(0, 1), entry(0, 2)), kAscending);
    EXPECT_EQ(down.compareObject(entry(0, 1), entry(0, 2)), kDescending);
    EXPECT_EQ(up.compareObject(entry(0, 2), entry(0, 2)), kSame);
    EXPECT_EQ(down.compareObject(entry(0, 2), entry(0, 2)), kSame);
}

TEST(PXSortDescriptor, otherSortID_isNoOtherRow)
{
    EXPECT_EQ(PXSortDescriptor(HistoryEntry::kSavings).compareObject(entry(2, 1), entry(0, 2)), kAscending);
}

TEST(PXSortDescriptor, savings_compareUnsigned)
{
    const PXSortDescriptor descriptor(HistoryEntry::kSavings);
    EXPECT_EQ(descriptor.compareObject(entry(0, 1), entry(0, ~ByteCount(0))), kAscending);
}

TEST(PXSortDescriptor, paths_compareAsTheSelectorSays)
{
    const HistoryEntry apple = entry(0, 0, "/b/Apple");
    const HistoryEntry zebra = entry(0, 0, "/a/zebra");
    const auto compare = [&](Selector selector) {
        return PXSortDescriptor(HistoryEntry::kPath, true, selector).compareObject(apple, zebra);
    };
    EXPECT_EQ(compare(Selector::LastPathComponentCompare), kAscending);
    EXPECT_EQ(compare(Selector::CaseInsensitiveCompare), kDescending);
    EXPECT_EQ(PXSortDescriptor(HistoryEntry::kPath, true, Selector::CaseInsensitiveCompare)
                  .compareObject(entry(0, 0, "/A"), entry(0, 0, "/a")),
              kSame);
    EXPECT_EQ(PXSortDescriptor(HistoryEntry::kPath).compareObject(entry(0, 0, "/A"), entry(0, 0, "/a")), kAscending);
}

TEST(PXSortDescriptor, keyThatAnEntryHasNot_goesFirst)
{
    HistoryEntry with = entry(0, 0);
    with.enabled = false;
    const PXSortDescriptor descriptor(HistoryEntry::kEnabled);
    EXPECT_EQ(descriptor.compareObject(entry(0, 0), with), kAscending);
    EXPECT_EQ(descriptor.compareObject(entry(0, 0), entry(0, 0)), kSame);
}

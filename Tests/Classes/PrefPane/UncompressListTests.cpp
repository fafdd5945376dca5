#include "Classes/PrefPane/UncompressList.h"

#include "Classes/PrefPane/ExpansionRun.h"

#include <QAbstractItemModelTester>

#include <gtest/gtest.h>

using LeftAlone = PXPathUncompressorObserver::LeftAlone;
using Outcome = ExpansionOutcome::Result;

static ExpansionProgress progressWith(std::vector<ExpansionEntry> entries)
{
    ExpansionProgress progress;
    for (const ExpansionEntry &entry : entries)
        ++progress.counts[entry.reason];
    progress.fresh = std::move(entries);
    return progress;
}

TEST(UncompressList, groups_standInTheOrderOfWhatMatters)
{
    UncompressList list;
    const QAbstractItemModelTester tester(&list, QAbstractItemModelTester::FailureReportingMode::Fatal);
    list.add(progressWith({{LeftAlone::TooSmall, "/t"}, {Outcome::BlockDamaged, "/d"}}));
    list.add(progressWith(
        {{LeftAlone::TooSmall, "/t2"}, {Outcome::BlockDamaged, "/d2"}, {Outcome::Expanded, "/e", 10, 2000}}));
    EXPECT_EQ(list.text().toStdString(), "Uncompressed\t1 file\n"
                                         "Uncompressed\t10 b → 2.00 KB\t/e\n"
                                         "Failed: damaged block\t1 file\n"
                                         "Failed: damaged block\t\t/d\n"
                                         "Failed: damaged block\t\t/d2\n"
                                         "Left alone: smaller than 4096 bytes\t1 file\n"
                                         "Left alone: smaller than 4096 bytes\t\t/t\n"
                                         "Left alone: smaller than 4096 bytes\t\t/t2\n");
    list.clear();
    EXPECT_EQ(list.rowCount(), 0);
}

TEST(UncompressList, nameOfSeveralLines_isShownInOne)
{
    UncompressList list;
    list.add(progressWith({{LeftAlone::TooSmall, "/a\nb\x7f"}}));
    const QModelIndex group = list.index(0, UncompressList::FileColumn);
    EXPECT_EQ(list.index(0, UncompressList::FileColumn, group).data().toString().toStdString(), "/a\\nb\\x7f");
}

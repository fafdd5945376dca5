#include "Classes/PrefPane/UncompressWords.h"

#include "Classes/PrefPane/ExpansionRun.h"

#include <gtest/gtest.h>

using LeftAlone = PXPathUncompressorObserver::LeftAlone;
using Outcome = ExpansionOutcome::Result;

TEST(UncompressWords, everyReason_hasWords)
{
    for (int result = 0; result <= int(Outcome::Cancelled); ++result)
        EXPECT_FALSE(UncompressWords::heading(Outcome(result)).isEmpty()) << result;
    for (int reason = 0; reason <= int(LeftAlone::AnothersGroup); ++reason)
        EXPECT_FALSE(UncompressWords::heading(LeftAlone(reason)).isEmpty()) << reason;
}

TEST(UncompressWords, line_keepsTheBytesOfAPathOnOneLine)
{
    EXPECT_EQ(UncompressWords::line({LeftAlone::NotCompressed, "/a\nb\t\x1b\xff"}),
              "Left alone: not compressed\t\t/a\\nb\\x09\\x1b\xff");
}

TEST(UncompressWords, state_tellsFilesBytesAndTheName)
{
    ExpansionProgress progress;
    progress.phase = ExpansionProgress::Phase::Expanding;
    progress.filesDone = 1;
    progress.filesInAll = 120;
    progress.bytesDone = 1000;
    progress.bytesInAll = 4000;
    progress.current = "/folder/name";
    EXPECT_EQ(UncompressWords::state(progress).toStdString(), "1 of 120 files, 1000 b of 4.00 KB — name");
    progress.current = "/folder/two\nlines";
    EXPECT_EQ(UncompressWords::state(progress).toStdString(), "1 of 120 files, 1000 b of 4.00 KB — two\\nlines");
    EXPECT_EQ(UncompressWords::permille(progress), 250);
    progress.isCancelled = true;
    EXPECT_EQ(UncompressWords::state(progress).toStdString(), "Cancelling…");
    progress.isCancelled = false;
    progress.phase = ExpansionProgress::Phase::Ended;
    EXPECT_EQ(UncompressWords::state(progress).toStdString(), "");
    progress.isCancelled = true;
    progress.filesDone = 3;
    progress.counts[Outcome::Cancelled] = 1;
    EXPECT_EQ(UncompressWords::state(progress).toStdString(), "Cancelled after 2 of 120 files.");
    progress.bytesDone = 9000;
    EXPECT_EQ(UncompressWords::permille(progress), 1000) << "there was more than was seen at first";
}

TEST(UncompressWords, remark_isOneLineWhateverTheSystemSaid)
{
    EXPECT_EQ(UncompressWords::remark({Outcome::Unreadable, "/a", 0, 0, false, "open /a\nb: no"}).toStdString(),
              "open /a\\nb: no");
}

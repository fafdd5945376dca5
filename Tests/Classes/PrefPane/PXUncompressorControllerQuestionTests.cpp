#include "Classes/PrefPane/ExpansionRun.h"
#include "Platform/Fake/FakeVolumes.h"
#include "Tests/Classes/PrefPane/UncompressorFixture.h"

#include <thread>

// What the drop zone asks: whether to close in the middle of a run, and whether to begin where there is little room.

using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

class QuestionFixture : public UncompressorFixture
{
protected:
    QMessageBox *question() const { return qobject_cast<QMessageBox *>(host.attachedSheet(&window)); }
    void press(const char *title)
    {
        ASSERT_NE(question(), nullptr);
        for (QAbstractButton *const button : question()->buttons()) {
            if (button->text() == QLatin1String(title))
                return button->click();
        }
        FAIL() << "no button " << title;
    }
};

/// A run that is under way until it is told to go on.
class PXUncompressorControllerClosing : public QuestionFixture
{
protected:
    PXUncompressorControllerClosing()
    {
        make("file", 200000);
        drop({folder});
        EXPECT_FALSE(uncompressor->mayClose([this] { ++closed; }));
    }

    int closed = 0;
};

} // namespace

TEST_F(PXUncompressorControllerClosing, agreed_stopsThenCloses)
{
    press("Stop and Close");
    EXPECT_EQ(closed, 0) << "it has not ended yet";
    EXPECT_TRUE(waitFor([this] { return closed == 1; }, 60000));
    EXPECT_FALSE(uncompressor->uncompressing());
    EXPECT_TRUE(uncompressor->mayClose({}));
}

TEST_F(PXUncompressorControllerClosing, notAgreed_goesOn)
{
    press("Keep Uncompressing");
    EXPECT_EQ(untilFinished(), kFinished);
    EXPECT_EQ(closed, 0);
    EXPECT_TRUE(isExpanded("file"));
}

TEST_F(PXUncompressorControllerClosing, askedAgain_asksOnce)
{
    EXPECT_FALSE(uncompressor->mayClose([this] { ++closed; }));
    press("Keep Uncompressing");
    EXPECT_EQ(untilFinished(), kFinished) << "no second question";
}

TEST_F(PXUncompressorControllerClosing, agreedAfterTheEnd_closes)
{
    EXPECT_TRUE(waitFor([this] { return !uncompressor->uncompressing(); }, 60000));
    press("Stop and Close");
    EXPECT_EQ(closed, 1);
    EXPECT_TRUE(isExpanded("file"));
}

namespace {

/// The dropped files lie on a volume with little room.
class PXUncompressorControllerOnFullVolume : public QuestionFixture
{
protected:
    PXUncompressorControllerOnFullVolume()
    {
        volumes.volumes = {{"/"}};
        volumes.volumes[0].availableSpace = 100000;
        make("file", 200000);
        drop({folder});
    }
    void untilItIsAsked()
    {
        ASSERT_TRUE(waitFor([this] { return question() != nullptr; }, 60000));
    }
    /// Until the question is on its way; the main thread does not come to it.
    void untilItIsToBeAsked()
    {
        while (uncompressor->run()->takeProgress().phase != ExpansionProgress::Phase::Asking)
            std::this_thread::yield();
    }

    FakeVolumes volumes;
    Override<Volumes> volumesInPlace{volumes};
};

} // namespace

TEST_F(PXUncompressorControllerOnFullVolume, question_namesBothFigures)
{
    untilItIsAsked();
    EXPECT_THAT(question()->informativeText().toStdString(), HasSubstr("needs 201 KB on /, where 100 KB are free"));
    EXPECT_TRUE(uncompressor->uncompressing());
    EXPECT_EQ(labelText(), kWorking);
    EXPECT_THAT(storedPaths(), ElementsAre(folder.native())) << "the steps of the drop come first";
    press("Cancel");
    EXPECT_EQ(untilFinished(), kFinished);
}

TEST_F(PXUncompressorControllerOnFullVolume, refusal_endsInTheSameWayAndExpandsNothing)
{
    untilItIsAsked();
    press("Cancel");
    EXPECT_EQ(untilFinished(), kFinished);
    EXPECT_FALSE(isExpanded("file"));
    EXPECT_EQ(labelText(), kAtRest);
}

TEST_F(PXUncompressorControllerOnFullVolume, consent_expandsAllTheSame)
{
    untilItIsAsked();
    press("Uncompress Anyway");
    EXPECT_EQ(untilFinished(), kFinished);
    EXPECT_TRUE(isExpanded("file"));
}

TEST_F(PXUncompressorControllerOnFullVolume, cancelWhileItIsAsked_takesTheQuestionAway)
{
    untilItIsAsked();
    uncompressor->cancel();
    EXPECT_TRUE(waitFor([this] { return !uncompressor->uncompressing(); }, 60000));
    EXPECT_EQ(untilFinished(), kFinished) << "nothing is before it";
    EXPECT_FALSE(isExpanded("file"));
}

TEST_F(PXUncompressorControllerOnFullVolume, cancelBeforeItIsAsked_asksNothing)
{
    untilItIsToBeAsked();
    uncompressor->cancel();
    EXPECT_EQ(untilFinished(), kFinished);
    EXPECT_FALSE(isExpanded("file"));
}

TEST_F(PXUncompressorControllerOnFullVolume, closedWhileItWaitsForItsTurn_asksNothing)
{
    untilItIsToBeAsked();
    int closed = 0;
    EXPECT_FALSE(uncompressor->mayClose([&] { ++closed; }));
    settle(); // the question about space is behind the other one now
    press("Stop and Close");
    EXPECT_TRUE(waitFor([&] { return closed == 1; }, 60000));
    EXPECT_EQ(host.attachedSheet(&window), nullptr);
    EXPECT_FALSE(isExpanded("file"));
}

#include "Classes/PrefPane/ExpansionRun.h"
#include "Tests/Classes/PrefPane/UncompressorDragFixture.h"

#include <pthread.h>

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

using PXUncompressorControllerTest = UncompressorDragFixture;

TEST_F(PXUncompressorControllerTest, atRest_showsIconAndLabelAndNoHint)
{
    EXPECT_EQ(labelText(), kAtRest);
    EXPECT_FALSE(hint->isVisible());
    EXPECT_FALSE(uncompressor->uncompressing());
    EXPECT_FALSE(uncompressor->property("animatingDragInfoImage").toBool());
}

TEST_F(PXUncompressorControllerTest, anotherProgramHasTheKeys_theSheetIsOnThePanel)
{
    host.setMainWindow(&window);
    ASSERT_TRUE(drop({folder}));
    host.setKeyWindow(nullptr);
    EXPECT_EQ(untilFinished(), kFinished);
}

TEST_F(PXUncompressorControllerTest, drop_expandsSaysSoAndExcludes)
{
    const Bytes original = make("inner/file", 200000);
    enter();
    ASSERT_TRUE(drop({folder}));
    EXPECT_TRUE(uncompressor->uncompressing());
    EXPECT_FALSE(uncompressor->animatingDragInfoImage());
    EXPECT_EQ(labelText(), kWorking);
    EXPECT_THAT(storedPaths(), ElementsAre(folder.native()));
    EXPECT_THAT(takePosts(), ElementsAre(kPathsChanged));

    EXPECT_EQ(untilFinished(), kFinished);
    EXPECT_FALSE(uncompressor->uncompressing());
    EXPECT_EQ(labelText(), kAtRest);
    EXPECT_EQ(alphaOfLabel(), 1.0);
    EXPECT_EQ(FileSystem::current().readFile(folder / "inner/file", 1 << 20).valueOr({}), original);
    EXPECT_THAT(host.activations(), ElementsAre(true));
}

TEST_F(PXUncompressorControllerTest, severalPaths_areExpandedInTheirOrder)
{
    for (const char *const name : {"c", "a", "b"})
        make(name);
    drop({folder / "c", folder / "a", folder / "b"});
    EXPECT_EQ(untilFinished(), kFinished);
    std::string lines;
    const auto take = [&](std::string_view piece) {
        lines += piece;
        return true;
    };
    ASSERT_TRUE(uncompressor->run()->journal().read(take));
    EXPECT_LT(lines.find("/c\n"), lines.find("/a\n"));
    EXPECT_LT(lines.find("/a\n"), lines.find("/b\n"));
    EXPECT_NE(lines.find("/b\n"), std::string::npos);
}

TEST_F(PXUncompressorControllerTest, nothingCompressed_stillFinishesAndExcludes)
{
    writeFile(folder / "ordinary", "text");
    drop({folder});
    EXPECT_EQ(untilFinished(), kFinished);
    EXPECT_THAT(storedPaths(), ElementsAre(folder.native()));
}

TEST_F(PXUncompressorControllerTest, noPaths_finishToo)
{
    uncompressor->uncompress({});
    EXPECT_TRUE(uncompressor->uncompressing());
    EXPECT_EQ(untilFinished(), kFinished);
    EXPECT_THAT(storedPaths(), IsEmpty());
}

TEST_F(PXUncompressorControllerTest, dragWhileWorking_isRefusedWithoutAnimation)
{
    drop({folder});
    EXPECT_EQ(enter(), Qt::IgnoreAction);
    EXPECT_FALSE(uncompressor->animatingDragInfoImage());
    EXPECT_EQ(untilFinished(), kFinished);
    EXPECT_EQ(enter(), Qt::CopyAction);
}

TEST_F(PXUncompressorControllerTest, dropWhileWorking_isIgnored)
{
    drop({folder});
    const auto first = uncompressor->run();
    drop({folder / "other"});
    EXPECT_EQ(uncompressor->run(), first);
    EXPECT_THAT(storedPaths(), ElementsAre(folder.native()));
    EXPECT_EQ(untilFinished(), kFinished);
    settle();
    EXPECT_EQ(takeAlert(), "") << "one run, one sheet";
}

TEST_F(PXUncompressorControllerTest, listThatCannotBeStored_doesNotStopTheRun)
{
    make("file");
    std::filesystem::remove(pathsFile);
    std::filesystem::create_directories(pathsFile / "in the way");
    drop({folder});
    EXPECT_THAT(takeAlert(), HasSubstr("unable to store the excluded paths"));
    EXPECT_EQ(untilFinished(), kFinished);
    EXPECT_TRUE(isExpanded("file"));
    std::filesystem::remove_all(pathsFile);
}

TEST_F(PXUncompressorControllerTest, controllerThatGoes_waitsForItsRun)
{
    for (int index = 0; index < 20; ++index)
        make("file" + std::to_string(index), 300000);
    drop({folder});
    delete view;
    view = nullptr;
    for (int index = 0; index < 20; ++index) {
        const Path path = folder / ("file" + std::to_string(index));
        const bool isWhole = std::filesystem::file_size(path) == 300000;
        EXPECT_TRUE(isWhole || FileSystem::current().openResourceFork(path)) << path;
    }
}

TEST_F(PXUncompressorControllerTest, mayClose_atRest_isYes)
{
    EXPECT_TRUE(uncompressor->mayClose({}));
}

TEST_F(PXUncompressorControllerTest, end_isToldBeforeThePanelComesToTheFrontWithTheSheet)
{
    std::vector<bool> activationsBefore{true};
    bool hadSheet = true;
    QObject::connect(uncompressor, &PXUncompressorController::uncompressingChanged, uncompressor, [&] {
        activationsBefore = host.activations();
        hadSheet = host.attachedSheet(&window) != nullptr;
    });
    drop({folder});
    EXPECT_EQ(untilFinished(), kFinished);
    EXPECT_THAT(activationsBefore, IsEmpty());
    EXPECT_FALSE(hadSheet);
    EXPECT_THAT(host.activations(), ElementsAre(true));
}

TEST_F(PXUncompressorControllerTest, nameThatIsNotUtf8_isNotExcludedUnderAnother)
{
    static std::string s_logged;
    s_logged.clear();
    setLogSink([](const std::string &line) { s_logged += line + "\n"; });
    const std::string name = "not utf-8 \xff";
    make(name);
    make("utf-8");
    uncompressor->uncompress({folder / name, folder / "utf-8"});
    EXPECT_EQ(untilFinished(), kFinished);
    EXPECT_TRUE(isExpanded(name));
    EXPECT_THAT(storedPaths(), ElementsAre((folder / "utf-8").native()));
    EXPECT_THAT(s_logged, HasSubstr("Not excluded"));
    EXPECT_THAT(s_logged, HasSubstr(name));
}

namespace {

/// While it lives no thread can be started: each would need more room for its stack than there are addresses.
class NoThreads final
{
public:
    NoThreads()
    {
        ::pthread_getattr_default_np(&m_before);
        pthread_attr_t attributes = {};
        ::pthread_getattr_default_np(&attributes);
        ::pthread_attr_setstacksize(&attributes, std::size_t{1} << 47);
        ::pthread_setattr_default_np(&attributes);
        ::pthread_attr_destroy(&attributes);
    }
    ~NoThreads()
    {
        ::pthread_setattr_default_np(&m_before);
        ::pthread_attr_destroy(&m_before);
    }
    NoThreads(const NoThreads &) = delete;
    NoThreads &operator=(const NoThreads &) = delete;

private:
    pthread_attr_t m_before = {};
};

} // namespace

TEST_F(PXUncompressorControllerTest, noThread_endsAtOnceAndExpandsNothing)
{
    make("file");
    {
        const NoThreads none;
        drop({folder});
    }
    EXPECT_TRUE(uncompressor->uncompressing()) << "the end comes as with any run";
    EXPECT_EQ(untilFinished(), kFinished);
    EXPECT_FALSE(isExpanded("file"));
    EXPECT_EQ(labelText(), kAtRest);
}

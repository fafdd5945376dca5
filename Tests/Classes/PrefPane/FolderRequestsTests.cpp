#include "Classes/PrefPane/FolderRequests.h"

#include "Classes/Shared/Log.h"
#include "Platform/Fake/FakeApplicationName.h"
#include "Platform/Fake/FakeNotificationCenter.h"
#include "Platform/Fake/FakeWorkspace.h"
#include "Tests/Support/WaitFor.h"

#include <gmock/gmock.h>

#include <optional>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

using Strings = std::vector<std::string>;

constexpr const char *kHelper = "com.dovrane.TamselHelper";

/// Names and center are made to order; a helper comes and goes as the test says.
class FolderRequestsTest : public ::testing::Test
{
protected:
    FolderRequestsTest()
    {
        requests.emplace();
        QObject::connect(&*requests, &FolderRequests::helperMissed, [this] { ++missed; });
    }

    void startHelper()
    {
        helper.emplace(registry);
        helper->setActivationHandler([this](const auto &) { ++asked; });
        helper->claim(kHelper, [](auto) {});
        registry.deliver();
    }

    /// Each post as "KEY PATH PATH…".
    Strings posts() const
    {
        Strings texts;
        for (const Notification &post : center.posts()) {
            EXPECT_EQ(post.name, "com.dovrane.pellix.folders");
            for (const auto &[key, folders] : post.userInfo) {
                texts.push_back(key);
                for (const std::string &folder : std::get<Strings>(folders))
                    texts.back() += ' ' + folder;
            }
        }
        return texts;
    }
    bool untilPosted(std::size_t count)
    {
        return waitFor([&] { return registry.deliver(), posts().size() >= count; });
    }

    FakeNotificationCenter center;
    Override<DistributedNotificationCenter> installedCenter{center};
    FakeApplicationName::Registry registry;
    FakeApplicationName name{registry};
    Override<ApplicationName> installedName{name};
    FakeWorkspace workspace;
    Override<Workspace> installedWorkspace{workspace};
    std::optional<FolderRequests> requests;
    std::optional<FakeApplicationName> helper;
    int missed = 0;
    int asked = 0;
};

} // namespace

TEST_F(FolderRequestsTest, helperListens_isToldOnce)
{
    startHelper();
    requests->post(FolderRequests::kToAdd, {"/a", "/b"});
    registry.deliver();
    requests->post(FolderRequests::kToRemove, {"/a"});
    registry.deliver();
    runFor(300);
    registry.deliver();
    EXPECT_THAT(posts(), ElementsAre("foldersToAdd /a /b", "foldersToRemove /a"));
    EXPECT_EQ(asked, 2) << "no more than once for each";
    EXPECT_EQ(missed, 0);
}

TEST_F(FolderRequestsTest, noHelper_isToldOnceOneAnswersAndInTheSameOrder)
{
    requests->post(FolderRequests::kToAdd, {"/a", "/b"});
    registry.deliver();
    EXPECT_EQ(missed, 1);
    requests->post(FolderRequests::kToRemove, {"/a"});
    registry.deliver();
    EXPECT_THAT(posts(), ElementsAre("foldersToAdd /a /b", "foldersToRemove /a"));
    startHelper();
    ASSERT_TRUE(untilPosted(4));
    EXPECT_THAT(posts(),
                ElementsAre("foldersToAdd /a /b", "foldersToRemove /a", "foldersToAdd /a /b", "foldersToRemove /a"));
    center.clearPosts();
    requests->post(FolderRequests::kToAdd, {});
    registry.deliver();
    runFor(300);
    registry.deliver();
    EXPECT_THAT(posts(), ElementsAre("foldersToAdd")) << "what was heard is not posted again";
}

TEST_F(FolderRequestsTest, helperOnItsWayOut_theNextIsTold)
{
    startHelper();
    helper->setActivationHandler(nullptr);
    requests->post(FolderRequests::kToRemove, {"/a"});
    registry.deliver();
    EXPECT_EQ(missed, 1);
    helper.reset();
    startHelper();
    EXPECT_TRUE(untilPosted(2));
}

TEST_F(FolderRequestsTest, helperComesBetweenTwoPosts_isToldBothInTheirOrder)
{
    requests->post(FolderRequests::kToAdd, {"/a"});
    registry.deliver();
    requests->post(FolderRequests::kToRemove, {"/a"});
    startHelper();
    ASSERT_TRUE(untilPosted(4));
    EXPECT_THAT(posts(), ElementsAre("foldersToAdd /a", "foldersToRemove /a", "foldersToAdd /a", "foldersToRemove /a"));
}

TEST_F(FolderRequestsTest, helperComesMuchLater_isToldThen)
{
    static bool s_hasGivenUp = false;
    setLogSink([](const std::string &) { s_hasGivenUp = true; });
    requests.emplace(std::chrono::milliseconds(0));
    requests->post(FolderRequests::kToAdd, {"/a"});
    EXPECT_TRUE(waitFor([this] { return registry.deliver(), s_hasGivenUp; }));
    setLogSink(nullptr);
    startHelper();
    runFor(30);
    registry.deliver();
    EXPECT_THAT(posts(), ElementsAre("foldersToAdd /a")) << "nobody asks for ever";
    workspace.setRunningElsewhere(kHelper, true);
    ASSERT_TRUE(untilPosted(2));
    EXPECT_THAT(posts(), ElementsAre("foldersToAdd /a", "foldersToAdd /a"));
}

TEST_F(FolderRequestsTest, noBus_nobodyIsMissed)
{
    center.setConnected(false);
    registry.setConnected(false);
    requests->post(FolderRequests::kToAdd, {"/a"});
    registry.deliver();
    EXPECT_EQ(missed, 0);
    EXPECT_THAT(posts(), IsEmpty());
    center.setConnected(true);
    registry.setConnected(true);
    startHelper();
    EXPECT_TRUE(untilPosted(1));
}

TEST_F(FolderRequestsTest, moreThanOneNotificationHolds_allArriveInTheirOrder)
{
    startHelper();
    Strings folders;
    for (int i = 0; i < 24000; ++i)
        folders.push_back("/folder " + std::to_string(i) + std::string(90, 'x'));
    requests->post(FolderRequests::kToRemove, folders);
    EXPECT_THAT(center.dropped(), IsEmpty());
    Strings heard;
    for (const Notification &post : center.posts()) {
        const auto &part = std::get<Strings>(post.userInfo.at(FolderRequests::kToRemove));
        heard.insert(heard.end(), part.begin(), part.end());
    }
    EXPECT_EQ(heard, folders);
    EXPECT_EQ(center.posts().size(), 5U) << "no more than are needed";
}

#include "Classes/PrefPane/PXPreferenceCommunicator.h"

#include "Platform/Fake/FakeNotificationCenter.h"

#include <gtest/gtest.h>

static PXPreferenceCommunicator *communicator()
{
    return PXPreferenceCommunicator::sharedCommunicatorController();
}

TEST(PXPreferenceCommunicator, alloc_theSecondTime_answersNothing)
{
    PXPreferenceCommunicator *const made = PXPreferenceCommunicator::alloc();
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(PXPreferenceCommunicator::alloc(), nullptr);
    EXPECT_EQ(communicator(), made);
}

TEST(PXPreferenceCommunicator, eachNotice_postsItsNameWithoutUserInformation)
{
    const struct
    {
        void (PXPreferenceCommunicator::*notify)();
        const char *name;
    } rows[] = {
        {&PXPreferenceCommunicator::notifyHelperShouldKeepAlive, "pellixHelperShouldKeepAlive"},
        {&PXPreferenceCommunicator::notifyHelperShouldQuit, "pellixHelperShouldQuit"},
        {&PXPreferenceCommunicator::notifyHelperActiveStatusChanged, "com.dovrane.pellix.active"},
        {&PXPreferenceCommunicator::notifyHelperShouldCheckForUpdates, "pellixHelperShouldCheckForUpdates"},
        {&PXPreferenceCommunicator::notifyAutomaticUpdatesEnabled, "pellixHelperEnableUpdates"},
        {&PXPreferenceCommunicator::notifyAutomaticUpdatesDisabled, "pellixHelperDisableUpdates"},
    };
    for (const auto &row : rows) {
        FakeNotificationCenter center;
        const Override<DistributedNotificationCenter> installed(center);
        (communicator()->*row.notify)();
        ASSERT_EQ(center.posts().size(), 1u) << row.name;
        EXPECT_EQ(center.posts().front().name, row.name);
        EXPECT_TRUE(center.posts().front().userInfo.empty()) << row.name;
    }
}

TEST(PXPreferenceCommunicator, withoutABus_postsAreLostQuietly)
{
    FakeNotificationCenter center;
    center.setConnected(false);
    const Override<DistributedNotificationCenter> installed(center);
    communicator()->notifyHelperShouldQuit();
    EXPECT_TRUE(center.posts().empty());
}

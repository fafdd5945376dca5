#pragma once

#include "Platform/Fake/FakeNotificationCenter.h"
#include "Platform/Fake/FakeSuddenTermination.h"

/// What the settings and the poster need of the platform, made to order; files are real ones.
struct SettingsServices
{
    FakeNotificationCenter center;
    FakeSuddenTermination termination;
    Override<DistributedNotificationCenter> installedCenter{center};
    Override<SuddenTermination> installedTermination{termination};
};

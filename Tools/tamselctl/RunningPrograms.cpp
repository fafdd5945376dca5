#include "Tools/tamselctl/RunningPrograms.h"

#include "Platform/DistributedNotificationCenter.h"
#include "Platform/Workspace.h"

#include <QEventLoop>

#include <optional>

RunningPrograms RunningPrograms::find()
{
    auto &center = DistributedNotificationCenter::current();
    if (!flush(center))
        return {};
    Workspace &workspace = Workspace::current();
    workspace.watchRunning(kHelper, [](bool) {});
    workspace.watchRunning(kHost, [](bool) {});
    // The bus answers in the order in which it was asked, so behind this the two answers are there.
    const bool isBusThere = flush(center);
    return {isBusThere, workspace.isRunning(kHelper), workspace.isRunning(kHost)};
}

bool flush(DistributedNotificationCenter &center)
{
    QEventLoop loop;
    std::optional<bool> reached;
    center.flush([&](bool isConnected) {
        reached = isConnected;
        loop.quit();
    });
    if (!reached)
        loop.exec();
    return reached.value_or(false);
}

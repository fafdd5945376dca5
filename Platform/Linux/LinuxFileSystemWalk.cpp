#include "Platform/Linux/LinuxFileSystem.h"
#include "Platform/Linux/TreeWalk.h"

Result<void> LinuxFileSystem::walk(const Path &root, const std::function<bool(const WalkEntry &)> &visit,
                                   const std::function<void(const Path &, const Failure &)> &unreadable,
                                   std::stop_token stop, MountPoints mountPoints) const
{
    return TreeWalk(visit, unreadable, std::move(stop), mountPoints).run(root);
}

#pragma once

#include "Platform/Linux/MountTable.h"

#include <memory>

/// What is mounted now, read again only when something was mounted, unmounted or moved since, or when this process has
/// come to see other mounts. Errors: those of `MountTable::read`. Any thread.
Result<std::shared_ptr<const MountTable>> currentMounts();

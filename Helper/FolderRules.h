#pragma once

#include "Classes/PrefPane/FolderRefusal.h"
#include "Platform/Types.h"

#include <optional>

/// Which folders are never watched, because no user means them. A value; main thread.
class FolderRules final
{
public:
    /// `ownFiles` is the folder in which the helper keeps its files.
    explicit FolderRules(const Path &ownFiles);

    /// What speaks against watching `folder`, an absolute path whose links are followed; nothing when nothing does.
    std::optional<FolderRefusal::Reason> reasonAgainst(const Path &folder) const;

private:
    bool isOfTheSystem(const Path &folder) const;

    Path m_ownFiles; ///< without links
    Path m_home;     ///< without links; empty when the user has none
};

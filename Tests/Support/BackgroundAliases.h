#pragma once

#include "Classes/Shared/inBackground.h"
#include "Platform/Linux/LinuxAliasManager.h"

/// Aliases of this machine, resolved on a thread of their own, where they may be searched for. What was moved is near,
/// and vain searches end soon on large volumes.
class BackgroundAliases final : public AliasManager
{
public:
    using Handles = LinuxAliasManager::Handles;

    explicit BackgroundAliases(Handles handles = Handles::Try)
        : m_aliases(handles, {20'000, std::chrono::minutes(1)})
    {
    }

    Result<Bytes> newAlias(const Path &target, const Path &relativeTo = {}) const override
    {
        return m_aliases.newAlias(target, relativeTo);
    }
    Result<Resolution> resolve(ByteView record, const Path &relativeTo = {}) const override
    {
        return inBackground([&] { return m_aliases.resolve(record, relativeTo); });
    }
    Result<AliasInfo> copyInfo(ByteView record) const override { return m_aliases.copyInfo(record); }

private:
    LinuxAliasManager m_aliases;
};

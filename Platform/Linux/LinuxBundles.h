#pragma once

#include "Platform/RememberedBundles.h"

/// Bundles as directories, read anew each time.
class LinuxBundles final : public Bundles
{
public:
    Result<Bundle> open(const Path &path) const override;
    Result<Bundle> main() const override;
    void remember(const Bundle &bundle) override { m_remembered.remember(bundle); }
    std::optional<Bundle> withIdentifier(const std::string &identifier) const override;

private:
    RememberedBundles m_remembered;
};

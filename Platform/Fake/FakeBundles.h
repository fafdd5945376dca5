#pragma once

#include "Platform/Fake/FailureSchedule.h"
#include "Platform/RememberedBundles.h"

/// Bundles that exist because a test says so; there are no files of them.
class FakeBundles final : public Bundles
{
public:
    /// A bundle at `path`, which is absolute, with that information, or a newer one in its place.
    void add(const Path &path, const PropertyList &information) { m_bundles[path] = information; }

    /// The bundle at `path` is that of the running executable.
    void setMain(const Path &path) { m_main = path; }

    /// Makes the n-th call of `open` or `main` from now on fail.
    mutable FailureSchedule failures;

    Result<Bundle> open(const Path &path) const override;
    Result<Bundle> main() const override;
    void remember(const Bundle &bundle) override { m_remembered.remember(bundle); }
    std::optional<Bundle> withIdentifier(const std::string &identifier) const override;

private:
    std::map<Path, PropertyList> m_bundles;
    Path m_main;
    RememberedBundles m_remembered;
};

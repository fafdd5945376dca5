#pragma once

#include "Platform/Bundle.h"

#include <map>

/// The bundles that a process has opened, by identifier.
class RememberedBundles final
{
public:
    void remember(const Bundle &bundle) { m_bundles[bundle.identifier()] = bundle; }

    /// `main` counts too, where there is one.
    std::optional<Bundle> withIdentifier(const std::string &identifier, const Result<Bundle> &main) const
    {
        if (identifier.empty())
            return std::nullopt;
        if (const auto found = m_bundles.find(identifier); found != m_bundles.end())
            return found->second;
        return main && main->identifier() == identifier ? std::optional(*main) : std::nullopt;
    }

private:
    std::map<std::string, Bundle> m_bundles;
};

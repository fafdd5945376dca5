#pragma once

#include "Platform/Bundle.h"

/// Takes the helper's bundle for this tool's main bundle as long as it lives: the tool lies in no bundle of its own,
/// and the resources that it needs are the helper's.
class MainBundle final : public Bundles
{
public:
    MainBundle()
        : m_others(Bundles::current())
        , m_override(*this)
    {
    }

    Result<Bundle> open(const Path &path) const override { return m_others.open(path); }
    /// The helper's. Errors: NotFound, and those of `open`.
    Result<Bundle> main() const override;
    void remember(const Bundle &bundle) override { m_others.remember(bundle); }
    std::optional<Bundle> withIdentifier(const std::string &identifier) const override
    {
        return m_others.withIdentifier(identifier);
    }

private:
    Bundles &m_others;
    Override<Bundles> m_override;
};

#include "Platform/Fake/FakeBundles.h"

Result<Bundle> FakeBundles::open(const Path &path) const
{
    if (const std::optional<Failure> failure = failures.next())
        return *failure;
    const Path absolute = path.has_filename() ? path : path.parent_path();
    const auto found = m_bundles.find(absolute);
    if (found == m_bundles.end())
        return Failure{ErrorCode::NotFound, ENOENT, "no bundle " + absolute.native()};
    if (!found->second.as<PropertyList::Dictionary>())
        return Failure{ErrorCode::Corrupt, 0, "no dictionary: " + absolute.native()};
    return Bundle(absolute, found->second);
}

Result<Bundle> FakeBundles::main() const
{
    if (m_main.empty())
        return Failure{ErrorCode::NotFound, ENOENT, "in no bundle"};
    return open(m_main);
}

std::optional<Bundle> FakeBundles::withIdentifier(const std::string &identifier) const
{
    return m_remembered.withIdentifier(identifier, main());
}

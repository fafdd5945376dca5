#pragma once

#include "Platform/PropertyList.h"
#include "Platform/Result.h"
#include "Platform/Service.h"
#include "Platform/Types.h"

#include <optional>
#include <string>
#include <vector>

/// A directory NAME.EXT with Contents/{Info.plist,MacOS,Resources}. A value; what it says was read when it was opened.
class Bundle final
{
public:
    Bundle() = default;
    Bundle(Path path, PropertyList information) : m_path(std::move(path)), m_information(std::move(information)) {}

    const Path &path() const { return m_path; }
    const PropertyList &information() const { return m_information; }

    std::string identifier() const { return m_information.string("CFBundleIdentifier"); }
    std::string version() const { return m_information.string("CFBundleVersion"); }

    /// "CFBundleName", else the bundle's file name without its extension.
    std::string name() const;

    /// Contents/MacOS and "CFBundleExecutable"; empty when that names no plain file name.
    Path executable() const;

    /// The resource `name`.`type` (`type` may be empty), file or directory, if there is one. Nothing for what is no plain
    /// file name.
    std::optional<Path> resource(const std::string &name, const std::string &type = {}) const;

private:
    Path m_path;
    PropertyList m_information;
};

/// Finds bundles. `open` and `main` on any thread, the rest on the main thread.
class Bundles : public Service<Bundles>
{
public:
    /// Reads what stands on the disk now; the bundle's path is absolute and without a slash at its end. Errors: NotFound,
    /// Corrupt when Info.plist is no dictionary, and those of reading it.
    virtual Result<Bundle> open(const Path &path) const = 0;

    /// The bundle whose Contents/MacOS holds the running executable. Errors: NotFound when it lies in none.
    virtual Result<Bundle> main() const = 0;

    /// A bundle that this process has opened to load code or resources from it. Takes the place of another with the same
    /// identifier.
    virtual void remember(const Bundle &bundle) = 0;

    /// The one that was remembered, or the main bundle when that bears the identifier.
    virtual std::optional<Bundle> withIdentifier(const std::string &identifier) const = 0;
};

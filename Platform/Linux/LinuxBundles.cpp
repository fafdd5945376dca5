#include "Platform/Linux/LinuxBundles.h"

Result<Bundle> LinuxBundles::open(const Path &path) const
{
    std::error_code failure;
    Path absolute = std::filesystem::absolute(path, failure);
    if (failure) // the working directory is gone
        return Failure::fromErrno(failure.value(), "absolute", path);
    if (!absolute.has_filename())
        absolute = absolute.parent_path();
    const Path file = absolute / "Contents/Info.plist";
    Result<PropertyList> information = PropertyList::read(file);
    if (!information)
        return information.failure();
    if (!information->as<PropertyList::Dictionary>())
        return Failure{ErrorCode::Corrupt, 0, "no dictionary: " + file.native()};
    return Bundle(absolute, *std::move(information));
}

Result<Bundle> LinuxBundles::main() const
{
    std::error_code failure;
    const Path executable = std::filesystem::read_symlink("/proc/self/exe", failure);
    if (failure)
        return Failure::fromErrno(failure.value(), "readlink", "/proc/self/exe");
    const Path contents = executable.parent_path().parent_path();
    if (executable.parent_path().filename() != "MacOS" || contents.filename() != "Contents")
        return Failure{ErrorCode::NotFound, 0, "in no bundle: " + executable.native()};
    return open(contents.parent_path());
}

std::optional<Bundle> LinuxBundles::withIdentifier(const std::string &identifier) const
{
    return m_remembered.withIdentifier(identifier, main());
}

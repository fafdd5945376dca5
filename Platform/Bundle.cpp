#include "Platform/Bundle.h"

#include "Platform/FileSystem.h"

/// Whether `name` names something directly in a directory.
static bool isPlainName(const std::string &name)
{
    return !name.empty() && name != "." && name != ".." && name.find_first_of(std::string_view("/\0", 2)) == name.npos;
}

std::string Bundle::name() const
{
    const std::string name = m_information.string("CFBundleName");
    return name.empty() ? m_path.stem().native() : name;
}

Path Bundle::executable() const
{
    const std::string name = m_information.string("CFBundleExecutable");
    return isPlainName(name) ? m_path / "Contents/MacOS" / name : Path();
}

std::optional<Path> Bundle::resource(const std::string &name, const std::string &type) const
{
    const std::string file = type.empty() ? name : name + "." + type;
    if (m_path.empty() || name.empty() || !isPlainName(file))
        return std::nullopt;
    Path path = m_path / "Contents/Resources" / file;
    if (!FileSystem::current().status(path, Links::Follow))
        return std::nullopt;
    return path;
}

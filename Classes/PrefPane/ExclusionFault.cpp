#include "Classes/PrefPane/ExclusionFault.h"

#include "Platform/Utf8.h"

std::string ExclusionFault::ofPath(const std::string &path)
{
    if (!isUtf8(path) || path.find('\0') != std::string::npos)
        return "only UTF-8 can be stored: " + path;
    if (path == "/")
        return "the root folder cannot be excluded";
    return path.starts_with('/') ? std::string() : "no absolute path: " + path;
}

std::string ExclusionFault::ofExtension(const std::string &extension)
{
    const bool isPlain = extension.find_first_not_of(kAllowedInExtensions) == std::string::npos;
    return isPlain && !extension.empty() && !extension.starts_with('.') ? std::string() : "no extension: " + extension;
}

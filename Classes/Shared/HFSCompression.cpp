#include "Classes/Shared/HFSCompression.h"

#include "Classes/Shared/KZXattrMetadataStore.h"
#include "Classes/Shared/Log.h"
#include "Platform/FileSystem.h"
#include "Platform/Formats/CompressedFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

bool HFSCompression::isFileUFCompressed(const Path &path)
{
    const Result<std::uint32_t> flags = FileSystem::current().flags(path);
    return flags && (*flags & kCompressedFlag);
}

bool HFSCompression::setFileAsUFCompressed(const Path &path, bool isCompressed)
{
    FileSystem &files = FileSystem::current();
    const Result<std::uint32_t> flags = files.flags(path);
    if (!flags)
        return false;
    const bool wasCompressed = *flags & kCompressedFlag;
    if (wasCompressed && !isCompressed && !files.setFlags(path, *flags & ~kCompressedFlag))
        return false;
    if (!wasCompressed && isCompressed) {
        if (const Result<void> set = files.setFlags(path, *flags | kCompressedFlag); !set) {
            const int number = set.failure().systemError != 0 ? set.failure().systemError : EIO;
            logLine("Could not set UF_COMPRESSED flag for file " + path.native() + ": " + std::to_string(number) +
                    " [" + std::strerror(number) + "]");
            return false;
        }
    }
    return isFileUFCompressed(path) == isCompressed;
}

bool HFSCompression::hasCompressedAttributes(const Path &path)
{
    const std::vector<std::string> keys = KZXattrMetadataStore::allKeysAtPath(path, true);
    return std::find(keys.begin(), keys.end(), kDecmpfsAttribute) != keys.end();
}

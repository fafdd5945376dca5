#include "Platform/Linux/NoCompression.h"

using Ability = TransparentCompression::Ability;
using FolderState = TransparentCompression::FolderState;

static Failure notHere(const Path &path)
{
    return {ErrorCode::NotSupported, 0, "the volume cannot compress " + path.native()};
}

Result<Ability> NoCompression::ability(const Path &) const
{
    return Ability::OtherFormat;
}

Result<FolderState> NoCompression::turnOn(const Path &folder)
{
    return notHere(folder);
}

/// A folder that was copied or moved here may have brought no property with it, so there is nothing to take back.
Result<bool> NoCompression::turnOff(const Path &)
{
    return false;
}

Result<std::unique_ptr<CompressibleFile>> NoCompression::open(const Path &file) const
{
    return notHere(file);
}

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

Result<bool> NoCompression::isTurnedOn(const Path &) const
{
    return false;
}

Result<bool> NoCompression::turnOff(const Path &)
{
    return false;
}

Result<std::unique_ptr<CompressibleFile>> NoCompression::open(const Path &file) const
{
    return notHere(file);
}

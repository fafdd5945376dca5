#include "Platform/Fake/FakeUserFolders.h"

Result<Path> FakeUserFolders::folder(const char *name) const
{
    if (const std::optional<Failure> failure = failures.next())
        return *failure;
    const Path folder = m_root / name;
    std::error_code failure;
    if (std::filesystem::create_directory(folder, failure) && !failure)
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all, failure);
    if (failure)
        return Failure::fromErrno(failure.value(), "make", folder);
    return folder;
}

Result<Path> FakeUserFolders::applicationSupport() const
{
    return folder("Application Support");
}

Result<Path> FakeUserFolders::home() const
{
    return folder("home");
}

Result<Path> FakeUserFolders::temporary() const
{
    const Result<Path> made = folder("Temporary");
    return made ? Result<Path>(*made / "") : made;
}

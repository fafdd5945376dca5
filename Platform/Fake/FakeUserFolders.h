#pragma once

#include "Platform/Fake/FailureSchedule.h"
#include "Platform/UserFolders.h"

/// The folders of a user who has all of them below one real folder. Any thread.
class FakeUserFolders final : public UserFolders
{
public:
    /// `root` must exist.
    explicit FakeUserFolders(Path root)
        : m_root(std::move(root))
    {
    }

    Result<Path> applicationSupport() const override;
    Result<Path> home() const override;
    Result<Path> temporary() const override;

    /// Makes the n-th call from now on fail.
    mutable FailureSchedule failures;

private:
    Result<Path> folder(const char *name) const;

    Path m_root;
};

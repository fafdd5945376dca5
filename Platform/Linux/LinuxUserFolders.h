#pragma once

#include "Platform/UserFolders.h"

/// The folders that the desktop's rules name. The environment is looked at anew by each call.
class LinuxUserFolders final : public UserFolders
{
public:
    Result<Path> applicationSupport() const override;
    Result<Path> home() const override;
    Result<Path> temporary() const override;
};

#pragma once

#include "Tests/Support/PrivateHome.h"

/// A folder of the test's home, without what an earlier test of the process has left in it.
inline std::filesystem::path makeEmptyFolder(const std::string &name)
{
    std::filesystem::remove_all(PrivateHome::current().root() / name);
    return PrivateHome::current().makeFolder(name);
}

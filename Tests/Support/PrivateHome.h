#pragma once

#include <filesystem>
#include <string>

/// A home folder, data folders, a run-time and a temporary folder of the test's own, named by the environment as
/// long as this lives and removed with it. No test reads or writes the user's.
class PrivateHome final
{
public:
    PrivateHome();
    ~PrivateHome();
    PrivateHome(const PrivateHome &) = delete;
    PrivateHome &operator=(const PrivateHome &) = delete;

    /// The folder that holds all of them.
    const std::filesystem::path &root() const { return m_root; }
    std::filesystem::path home() const { return m_root / "home"; }

    /// A new empty folder for the test to work in.
    std::filesystem::path makeFolder(const std::string &name) const;

    /// The one that the test's main has made.
    static PrivateHome &current();

private:
    std::filesystem::path m_root;
};

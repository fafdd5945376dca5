#include "Tests/Support/PrivateHome.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace fs = std::filesystem;

static PrivateHome *s_current = nullptr;

static void setVariable(const char *name, const fs::path &value)
{
    fs::create_directories(value);
    ::setenv(name, value.c_str(), 1);
}

PrivateHome::PrivateHome()
{
    std::string name = (fs::temp_directory_path() / "tamsel-test.XXXXXX").native();
    if (!::mkdtemp(name.data()))
        throw std::system_error(errno, std::generic_category(), "mkdtemp");
    m_root = fs::canonical(name);
    setVariable("HOME", m_root / "home");
    setVariable("XDG_DATA_HOME", m_root / "home/.local/share");
    setVariable("XDG_CONFIG_HOME", m_root / "home/.config");
    setVariable("XDG_CACHE_HOME", m_root / "home/.cache");
    setVariable("XDG_RUNTIME_DIR", m_root / "run");
    setVariable("TMPDIR", m_root / "tmp");
    fs::permissions(m_root / "run", fs::perms::owner_all);
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
    s_current = this;
}

PrivateHome::~PrivateHome()
{
    s_current = nullptr;
    std::error_code ignored;
    fs::remove_all(m_root, ignored);
}

fs::path PrivateHome::makeFolder(const std::string &name) const
{
    const fs::path folder = m_root / name;
    fs::create_directories(folder);
    return folder;
}

PrivateHome &PrivateHome::current()
{
    return *s_current;
}

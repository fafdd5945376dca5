#include "Tests/Support/Panes/TestPanes.h"

#include "Tests/Support/PrivateHome.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace fs = std::filesystem;

static void installPlugin(TestPlugin plugin, const Path &file)
{
    switch (plugin) {
    case TestPlugin::Recording:
        fs::copy_file(RECORDING_PANE, file);
        return;
    case TestPlugin::Throwing:
        fs::copy_file(THROWING_PLUGIN, file);
        return;
    case TestPlugin::Foreign:
        fs::copy_file(FOREIGN_PLUGIN, file);
        return;
    case TestPlugin::Text:
        std::ofstream(file) << "no program\n";
        return;
    case TestPlugin::None:
        return;
    }
}

Path makeTestPane(const Path &folder, const std::string &name, const std::string &identifier, TestPlugin plugin,
                  const PropertyList::Dictionary &extra)
{
    const Path bundle = folder / (name + ".prefPane");
    fs::create_directories(bundle / "Contents/MacOS");
    fs::create_directories(bundle / "Contents/Resources");
    PropertyList information(PropertyList::Dictionary{{"CFBundleIdentifier", identifier},
                                                      {"CFBundleName", name},
                                                      {"CFBundleExecutable", name},
                                                      {"CFBundleVersion", "1.0"}});
    for (const auto &[key, value] : extra)
        information.set(key, value);
    if (!information.write(bundle / "Contents/Info.plist"))
        throw std::runtime_error("Info.plist");
    installPlugin(plugin, bundle / "Contents/MacOS" / name);
    return bundle;
}

Recording::Recording()
    : m_file(PrivateHome::current().root() / "recording")
{
    fs::remove(m_file);
    ::setenv("TAMSEL_RECORDING", m_file.c_str(), 1);
}

Recording::~Recording()
{
    ::unsetenv("TAMSEL_RECORDING");
}

std::vector<std::string> Recording::calls() const
{
    std::vector<std::string> calls;
    std::ifstream file(m_file);
    for (std::string line; std::getline(file, line);)
        calls.push_back(line);
    return calls;
}

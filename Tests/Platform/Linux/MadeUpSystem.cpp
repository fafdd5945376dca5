#include "Tests/Platform/Linux/MadeUpSystem.h"

#include <fstream>

namespace fs = std::filesystem;

MadeUpSystem::MadeUpSystem(const Path &root)
    : m_folders{root / "sys", root / "dev"}
{
    fs::remove_all(root);
    for (const char *const folder : {"sys/devices", "sys/dev/block", "sys/class/block", "dev/mapper"})
        fs::create_directories(root / folder);
}

void MadeUpSystem::addFile(const std::string &path, const std::string &content)
{
    fs::create_directories(device(path).parent_path());
    std::ofstream(device(path)) << content;
}

void MadeUpSystem::setSubsystem(const std::string &path, const std::string &name)
{
    fs::create_directories(device(path));
    fs::create_directories(m_folders.sysfs / "bus" / name);
    fs::create_directory_symlink(m_folders.sysfs / "bus" / name, device(path) / "subsystem");
}

void MadeUpSystem::addLink(const std::string &path, const std::string &target)
{
    const Path link = m_folders.sysfs / path;
    fs::create_directories(link.parent_path());
    fs::create_directories(device(target));
    fs::create_directory_symlink(device(target), link);
}

void MadeUpSystem::addBlockDevice(const std::string &path, const std::string &number, bool isRemovable)
{
    const std::string name = Path(path).filename();
    addFile(path + "/removable", isRemovable ? "1\n" : "0\n");
    fs::create_directories(device(path) / "slaves");
    setSubsystem(path, "block");
    addLink("dev/block/" + number, path);
    addLink("class/block/" + name, path);
    std::ofstream(m_folders.devices / name) << "";
}

void MadeUpSystem::addPartition(const std::string &path, const std::string &number)
{
    addFile(path + "/partition", "1\n");
    addLink("dev/block/" + number, path);
    addLink("class/block/" + Path(path).filename().native(), path);
}

void MadeUpSystem::addSlave(const std::string &path, const std::string &otherPath)
{
    fs::create_directory_symlink(device(otherPath), device(path) / "slaves" / Path(otherPath).filename());
}

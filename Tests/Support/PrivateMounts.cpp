#include "Tests/Support/PrivateMounts.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <unistd.h>

PrivateMounts::~PrivateMounts()
{
    for (const std::filesystem::path &point : m_points)
        ::umount2(point.c_str(), MNT_DETACH);
}

bool PrivateMounts::enter()
{
    if (m_entered)
        return true;
    const std::string user = std::to_string(::getuid()), group = std::to_string(::getgid());
    if (::unshare(CLONE_NEWNS) != 0) {
        if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
            return false;
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << user << " " << user << " 1";
        std::ofstream("/proc/self/gid_map") << group << " " << group << " 1";
    }
    m_entered = ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    return m_entered;
}

bool PrivateMounts::mountMemory(const std::filesystem::path &point)
{
    if (!enter() || ::mount("memory", point.c_str(), "tmpfs", 0, "size=16m,mode=0755") != 0)
        return false;
    m_points.push_back(point);
    return true;
}

static bool run(const std::string &command)
{
    return std::system(("PATH=$PATH:/usr/sbin:/sbin; " + command + " > /dev/null 2>&1").c_str()) == 0;
}

bool PrivateMounts::mountImage(const std::string &format, const std::filesystem::path &point,
                               const std::string &formatOptions, const std::string &mountOptions)
{
    constexpr std::uintmax_t kSmallestVolume = std::uintmax_t{320} << 20; // of XFS
    const std::string image = point.native() + ".image";
    std::ofstream(image).close();
    std::filesystem::resize_file(image, kSmallestVolume); // takes only what is written to it
    const std::string options = mountOptions.empty() ? "loop" : "loop," + mountOptions;
    if (!enter() || !run("mkfs." + format + " -q " + formatOptions + " '" + image + "'") ||
        !run("mount -t " + format + " -o " + options + " '" + image + "' '" + point.native() + "'"))
        return false;
    m_points.push_back(point);
    return true;
}

bool PrivateMounts::mountImageAgain(const std::string &format, const std::filesystem::path &first,
                                    const std::filesystem::path &point)
{
    if (!run("mount -t " + format + " -o loop '" + first.native() + ".image' '" + point.native() + "'"))
        return false;
    m_points.push_back(point);
    return true;
}

bool PrivateMounts::mountOverlay(const std::filesystem::path &lower, const std::filesystem::path &upper,
                                 const std::filesystem::path &work, const std::filesystem::path &point)
{
    const std::string options =
        "lowerdir=" + lower.native() + ",upperdir=" + upper.native() + ",workdir=" + work.native();
    if (!enter() || ::mount("overlay", point.c_str(), "overlay", 0, options.c_str()) != 0)
        return false;
    m_points.push_back(point);
    return true;
}

bool PrivateMounts::mountProgram(const std::filesystem::path &point, const std::string &options)
{
    if (!enter() || ::mount("program", point.c_str(), "fuse", MS_NODEV | MS_NOSUID, options.c_str()) != 0)
        return false;
    m_points.push_back(point);
    return true;
}

bool PrivateMounts::makeReadOnly(const std::filesystem::path &point)
{
    return enter() && ::mount(nullptr, point.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) == 0;
}

bool PrivateMounts::bind(const std::filesystem::path &folder, const std::filesystem::path &point)
{
    if (!enter() || ::mount(folder.c_str(), point.c_str(), nullptr, MS_BIND, nullptr) != 0)
        return false;
    m_points.push_back(point);
    return true;
}

bool PrivateMounts::move(const std::filesystem::path &from, const std::filesystem::path &to)
{
    if (!enter() || ::mount(from.c_str(), to.c_str(), nullptr, MS_MOVE, nullptr) != 0)
        return false;
    std::replace(m_points.begin(), m_points.end(), from, to);
    return true;
}

bool PrivateMounts::unmount(const std::filesystem::path &point)
{
    std::erase(m_points, point);
    return ::umount2(point.c_str(), 0) == 0;
}

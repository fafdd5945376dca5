#include "Platform/Linux/MountTable.h"

#include "Platform/Linux/Descriptor.h"
#include "Platform/isInside.h"

#include <algorithm>
#include <atomic>
#include <set>
#include <sstream>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

static constexpr int kMostLinks = 40; // as many as the kernel follows

/// Blanks and backslashes stand as octal numbers behind a backslash.
static std::string unescaped(const std::string &text)
{
    std::string result;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const auto digit = [&](std::size_t offset) { return unsigned(text[index + offset] - '0'); };
        if (text[index] == '\\' && index + 3 < text.size() && digit(1) < 4 && digit(2) < 8 && digit(3) < 8) {
            result += char(digit(1) * 64 + digit(2) * 8 + digit(3));
            index += 3;
        } else {
            result += text[index];
        }
    }
    return result;
}

static std::optional<Mount> parseLine(const std::string &line)
{
    std::istringstream words(line);
    Mount mount;
    std::string root, point, word;
    if (!(words >> mount.id >> mount.parent >> mount.device >> root >> point >> word))
        return std::nullopt;
    while (words >> word && word != "-") { // optional fields
    }
    if (!(words >> mount.type))
        return std::nullopt;
    words >> word;
    mount.root = unescaped(root);
    mount.point = unescaped(point);
    mount.source = unescaped(word);
    if (words >> word)
        mount.volumeOptions = unescaped(word);
    return mount;
}

bool Mount::mayHang() const
{
    static const std::set<std::string> kRemote = {"9p",  "afs",  "autofs", "beegfs", "ceph",     "cifs", "gfs2",
                                                  "nfs", "nfs4", "lustre", "ocfs2",  "orangefs", "smb3", "virtiofs"};
    return isFuse() || kRemote.contains(type);
}

Result<MountTable> MountTable::read()
{
    const Descriptor file(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC));
    if (!file)
        return Failure::fromErrno(errno, "open", "/proc/self/mountinfo");
    std::string text;
    char buffer[16384];
    for (;;) {
        const ssize_t count = ::read(file.get(), buffer, sizeof buffer);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return Failure::fromErrno(errno, "read", "/proc/self/mountinfo");
        if (count == 0)
            break;
        text.append(buffer, std::size_t(count));
    }
    static std::atomic<std::size_t> readings = 0;
    MountTable table = parse(text);
    table.m_generation = ++readings;
    table.addRootWhereMissing();
    return table;
}

MountTable MountTable::parse(const std::string &text)
{
    MountTable table;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (std::optional<Mount> mount = parseLine(line)) {
            table.m_points.insert(mount->point.native());
            table.m_hasAutomounter = table.m_hasAutomounter || mount->isAutomounter();
            table.m_mounts.push_back(std::move(*mount));
        }
    }
    return table;
}

/// Below a chroot that is no mount point the kernel leaves the mount of "/" out.
void MountTable::addRootWhereMissing()
{
    struct statx status = {};
    if (isMountPoint("/") || ::statx(AT_FDCWD, "/", 0, STATX_MNT_ID, &status) != 0)
        return;
    Mount root;
    root.id = status.stx_mnt_id;
    root.root = "/";
    root.point = "/";
    m_points.insert("/");
    m_mounts.insert(m_mounts.begin(), root);
}

const Mount *MountTable::withId(std::uint64_t id) const
{
    const auto found = std::find_if(m_mounts.begin(), m_mounts.end(), [&](const Mount &each) { return each.id == id; });
    return found == m_mounts.end() ? nullptr : &*found;
}

const Mount *MountTable::holding(const Path &path) const
{
    const Mount *best = nullptr;
    if (!path.is_absolute())
        return nullptr;
    for (const Mount &mount : m_mounts) {
        // A later mount on the same point lies over the earlier one.
        if (isInside(path, mount.point) && (!best || mount.point.native().size() >= best->point.native().size()))
            best = &mount;
    }
    return best;
}

std::optional<Path> MountTable::resolveWithoutMounting(const Path &path) const
{
    if (!path.is_absolute())
        return std::nullopt;
    std::vector<Path> ahead(path.begin(), path.end()); // to be walked, the next one last
    std::reverse(ahead.begin(), ahead.end());
    Path walked = "/";
    for (int links = 0; !ahead.empty();) {
        const Path name = ahead.back();
        ahead.pop_back();
        if (name.empty() || name == "." || name == "/")
            continue;
        if (name == "..") {
            walked = walked.parent_path();
            continue;
        }
        const Path next = walked / name;
        const Mount *const mount = m_hasAutomounter ? holding(next) : nullptr;
        if (mount && mount->isAutomounter())
            return std::nullopt;
        char target[4096];
        const ssize_t length = ahead.empty() ? -1 : ::readlink(next.c_str(), target, sizeof target);
        if (length < 0) {
            walked = next;
            continue;
        }
        if (++links > kMostLinks)
            return std::nullopt;
        const Path link(std::string(target, std::size_t(length)));
        if (link.is_absolute())
            walked = "/";
        std::vector<Path> parts(link.begin(), link.end());
        ahead.insert(ahead.end(), parts.rbegin(), parts.rend());
    }
    return walked;
}

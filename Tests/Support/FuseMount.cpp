#include "Tests/Support/FuseMount.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>
#include <vector>

#include <fcntl.h>
#include <linux/fuse.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

template <class Body>
static void answer(int device, const fuse_in_header &question, const Body &body)
{
    fuse_out_header header = {};
    header.len = sizeof header + sizeof body;
    header.unique = question.unique;
    iovec parts[] = {{&header, sizeof header}, {const_cast<Body *>(&body), sizeof body}};
    static_cast<void>(::writev(device, parts, 2));
}

static void refuse(int device, const fuse_in_header &question)
{
    fuse_out_header header = {};
    header.len = sizeof header;
    header.error = -ENOSYS;
    header.unique = question.unique;
    static_cast<void>(::write(device, &header, sizeof header));
}

static void serve(int device, const fuse_in_header &question, const void *body)
{
    if (question.opcode == FUSE_FORGET || question.opcode == FUSE_BATCH_FORGET)
        return;
    if (question.opcode == FUSE_INIT) {
        fuse_init_out out = {};
        out.major = FUSE_KERNEL_VERSION;
        out.minor = static_cast<const fuse_init_in *>(body)->minor;
        out.max_write = 4096;
        return answer(device, question, out);
    }
    if (question.opcode == FUSE_GETATTR) {
        fuse_attr_out out = {};
        out.attr.ino = 1;
        out.attr.mode = S_IFDIR | 0755;
        out.attr.nlink = 2;
        out.attr.uid = ::getuid();
        out.attr.gid = ::getgid();
        return answer(device, question, out);
    }
    if (question.opcode == FUSE_STATFS) {
        fuse_statfs_out out = {};
        out.st.bsize = out.st.frsize = 4096;
        out.st.namelen = 255;
        return answer(device, question, out);
    }
    refuse(device, question);
}

[[noreturn]] static void serveUntilUnmounted(int device)
{
    std::vector<char> buffer(1 << 17);
    while (true) {
        const ssize_t size = ::read(device, buffer.data(), buffer.size());
        if (size < ssize_t(sizeof(fuse_in_header))) {
            if (errno == EINTR || errno == EAGAIN || errno == ENOENT)
                continue;
            ::_exit(0);
        }
        fuse_in_header question = {};
        std::memcpy(&question, buffer.data(), sizeof question);
        serve(device, question, buffer.data() + sizeof question);
    }
}

bool FuseMount::mount(PrivateMounts &mounts, const std::filesystem::path &point)
{
    const int device = ::open("/dev/fuse", O_RDWR | O_CLOEXEC);
    if (device < 0)
        return false;
    const std::string options = "fd=" + std::to_string(device) +
                                ",rootmode=40000,user_id=" + std::to_string(::getuid()) +
                                ",group_id=" + std::to_string(::getgid());
    const bool isMounted = mounts.mountProgram(point, options);
    if (isMounted)
        m_server = ::fork();
    if (m_server == 0)
        serveUntilUnmounted(device);
    ::close(device);
    return isMounted && m_server > 0;
}

FuseMount::~FuseMount()
{
    if (m_server <= 0)
        return;
    ::kill(m_server, SIGKILL);
    ::waitpid(m_server, nullptr, 0);
}

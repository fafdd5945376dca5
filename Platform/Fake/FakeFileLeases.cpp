#include "Platform/Fake/FakeFileLeases.h"

#include <set>

struct FakeFileLeases::State
{
    std::mutex mutex;
    std::set<FileIdentity> written;
    std::set<const Lease *> leases;
};

class FakeFileLeases::Lease final : public FileLease
{
public:
    Lease(std::shared_ptr<State> state, FileIdentity file)
        : m_state(std::move(state))
        , m_file(file)
    {
        m_state->leases.insert(this);
    }
    ~Lease() override
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->leases.erase(this);
    }

    FileIdentity file() const override { return m_file; }
    bool isHeld() const override
    {
        const std::lock_guard lock(m_state->mutex);
        return !m_isBroken;
    }

    void breakIt() const { m_isBroken = true; }

private:
    const std::shared_ptr<State> m_state;
    const FileIdentity m_file;
    mutable bool m_isBroken = false;
};

FakeFileLeases::FakeFileLeases()
    : m_state(std::make_shared<State>())
{
}

void FakeFileLeases::setWritten(const FileIdentity &file, bool isWritten)
{
    const std::lock_guard lock(m_state->mutex);
    if (!isWritten) {
        m_state->written.erase(file);
        return;
    }
    m_state->written.insert(file);
    for (const Lease *lease : m_state->leases) {
        if (lease->file() == file)
            lease->breakIt();
    }
}

std::size_t FakeFileLeases::count() const
{
    const std::lock_guard lock(m_state->mutex);
    return m_state->leases.size();
}

Result<std::unique_ptr<FileLease>> FakeFileLeases::leaseAgainstWriters(const Path &path) const
{
    if (const std::optional<Failure> failure = failures.next())
        return *failure;
    const Result<FileStatus> status = FileSystem::current().status(path, Links::NotFollow);
    if (!status)
        return status.failure();
    if (status->type != FileType::Regular)
        return Failure{ErrorCode::NotSupported, 0, path.native() + " is not a regular file"};
    const std::lock_guard lock(m_state->mutex);
    if (m_state->written.contains(status->identity))
        return Failure{ErrorCode::Busy, EAGAIN, path.native() + " is being written to"};
    return std::unique_ptr<FileLease>(std::make_unique<Lease>(m_state, status->identity));
}

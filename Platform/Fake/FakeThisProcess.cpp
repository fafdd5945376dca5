#include "Platform/Fake/FakeThisProcess.h"

#include <cstdlib>

namespace {

class HeldLock final : public FileLock
{
public:
    HeldLock(std::shared_ptr<FakeThisProcess::Locks> locks, Path path)
        : m_locks(std::move(locks))
        , m_path(std::move(path))
    {
    }
    ~HeldLock() override
    {
        const std::lock_guard lock(m_locks->mutex);
        m_locks->held.erase(m_path);
    }

private:
    std::shared_ptr<FakeThisProcess::Locks> m_locks;
    Path m_path;
};

} // namespace

Result<std::unique_ptr<FileLock>> FakeThisProcess::lockFile(const Path &path)
{
    const std::lock_guard lock(m_locks->mutex);
    if (!m_locks->held.insert(path).second)
        return Failure{ErrorCode::Busy, 0, path.native() + " is locked"};
    return std::unique_ptr<FileLock>(std::make_unique<HeldLock>(m_locks, path));
}

Failure FakeThisProcess::replaceBy(const Path &program, const std::vector<std::string> &arguments)
{
    m_replacements.emplace_back(program, arguments);
    return {ErrorCode::NotFound, 0, "nothing is started here: " + program.native()};
}

void FakeThisProcess::exitAtOnce(int status)
{
    std::_Exit(status);
}

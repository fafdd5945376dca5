#pragma once

#include "Platform/ThisProcess.h"

#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// A process that is never replaced; its locks hold against those of the other instances over one `Locks`.
class FakeThisProcess final : public ThisProcess
{
public:
    /// The files that are locked; shared by what stands for several processes.
    struct Locks
    {
        std::mutex mutex;
        std::set<Path> held;
    };

    explicit FakeThisProcess(std::shared_ptr<Locks> locks = std::make_shared<Locks>())
        : m_locks(std::move(locks))
    {
    }

    std::uint32_t user = 0;
    std::uint32_t userId() const override { return user; }
    bool isInputATerminal() const override { return false; }
    Result<std::unique_ptr<FileLock>> lockFile(const Path &path) override;
    Result<void> makeThreadIdle() override { return {}; }

    /// Keeps what was asked for and answers a failure, as if the program were not there.
    Failure replaceBy(const Path &program, const std::vector<std::string> &arguments) override;
    void ignoreBrokenPipes() override {}
    [[noreturn]] void exitAtOnce(int status) override;

    const std::vector<std::pair<Path, std::vector<std::string>>> &replacements() const { return m_replacements; }

private:
    std::shared_ptr<Locks> m_locks;
    std::vector<std::pair<Path, std::vector<std::string>>> m_replacements;
};

#pragma once

#include "Platform/ThisProcess.h"

/// flock, SCHED_IDLE and the idle class of disk access, execv.
class LinuxThisProcess final : public ThisProcess
{
public:
    std::uint32_t userId() const override;
    bool isInputATerminal() const override;
    Result<std::unique_ptr<FileLock>> lockFile(const Path &path) override;
    Result<void> makeThreadIdle() override;
    Failure replaceBy(const Path &program, const std::vector<std::string> &arguments) override;
    void ignoreBrokenPipes() override;
    [[noreturn]] void exitAtOnce(int status) override;
};

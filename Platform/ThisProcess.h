#pragma once

#include "Platform/FileLock.h"
#include "Platform/Result.h"
#include "Platform/Service.h"
#include "Platform/Types.h"

#include <memory>
#include <string>
#include <vector>

/// What the running program asks for itself. Any thread.
class ThisProcess : public Service<ThisProcess>
{
public:
    /// The user who runs it, whatever rights it has.
    virtual std::uint32_t userId() const = 0;

    /// Whether somebody at a terminal can answer what it asks on its standard input.
    virtual bool isInputATerminal() const = 0;

    /// Locks the file at `path`, made (0600) when missing, against every other process that asks the same; never waits.
    /// Its content stays as it is. Errors: Busy while another holds it; NotSupported when it is no regular file of this
    /// user (a link is not followed); NotFound, Permission, Io.
    virtual Result<std::unique_ptr<FileLock>> lockFile(const Path &path) = 0;

    /// The calling thread gets from now on only what others leave of processor and disk.
    virtual Result<void> makeThreadIdle() = 0;

    /// Runs `program` in place of this one, under the same process number; locks and open files are let go. Answers
    /// only when that failed, and nothing has changed then.
    virtual Failure replaceBy(const Path &program, const std::vector<std::string> &arguments) = 0;

    /// Writing to somebody who no longer reads fails from now on, instead of ending the process.
    virtual void ignoreBrokenPipes() = 0;

    /// Ends the process at once, with nothing cleaned up: the last resort when a thread does not stop.
    [[noreturn]] virtual void exitAtOnce(int status) = 0;
};

#pragma once

#include "Platform/Linux/Descriptor.h"
#include "Platform/Result.h"
#include "Platform/Types.h"

#include <string>
#include <sys/types.h>
#include <vector>

/// A program that was started in a session of its own: neither the end of this process nor that of its terminal ends
/// it. Whoever starts it waits for its end, or leaves a dead entry in the table of processes.
struct DetachedProcess
{
    pid_t id = -1;
    Descriptor descriptor; ///< becomes readable at its end; none where the system has no such thing

    /// Starts `program`, looked for in $PATH when it is a plain name, in the root folder, reading from /dev/null.
    /// Output goes where ours goes, but never into a pipe, whose reader may end before the program does or wait for the
    /// program's end: then it is added to `log`, or lost where none is named. Errors: NotFound, Permission, Io.
    static Result<DetachedProcess> start(const Path &program, const std::vector<std::string> &arguments,
                                         const Path &log = {});
};

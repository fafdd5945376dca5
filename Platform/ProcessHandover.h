#pragma once

#include "Platform/Result.h"
#include "Platform/Types.h"

#include <optional>
#include <string>
#include <vector>

/// Lets a small program that uses none of our libraries outlast another process and start it again. Linked into that
/// program itself, which is run from a temporary copy.
namespace ProcessHandover {

enum class Waiting {
    ByHandle, ///< told by the system; falls back on the other where that is not there
    ByAsking, ///< asks ten times a second
};

/// What the process runs. Errors: NotFound when there is no such process, Permission.
Result<Path> executableOf(int process);

/// Answers when the process has ended, whether or not its parent has noticed. At once when there is none.
Result<void> waitForEnd(int process, Waiting waiting = Waiting::ByHandle);

/// Makes this process survive the end of the terminal and of the session it was started from. Where that takes a new
/// process, the old one stays, and ends with the same status when the new one does.
Result<void> leaveSession();

/// Starts the program in a session of its own, not as a child of this process. Errors: NotFound, Permission, Io.
Result<void> startDetached(const Path &program, const std::vector<std::string> &arguments);

/// Whether there is a file at `path` that this user may run.
bool isExecutable(const Path &path);

} // namespace ProcessHandover

#pragma once

/// Makes the n-th of the system calls that write fail: write, fsync, renameat, renameat2, fchmod, fchown, futimens and
/// lsetxattr of the whole program. Linking it in is enough. One thread.
namespace FailingCalls {

/// From now on the call with that number, counted from 0, fails with `systemError`.
void fail(int number, int systemError);

/// No call fails any more. Answers how many were made since `fail`.
int stop();

} // namespace FailingCalls

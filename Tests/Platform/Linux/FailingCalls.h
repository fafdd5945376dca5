#pragma once

/// Makes the n-th of the system calls fail by which the calling thread changes anything on the disk: making, opening to
/// write, writing, cutting, syncing, closing what was written, moving, linking, removing, locking, and setting what is
/// known of a file; those of the libraries too. Linking it in is enough.
namespace FailingCalls {

/// From now on the call with that number, counted from 0, fails with `systemError`.
void fail(int number, int systemError);

/// No call fails any more. Answers how many were made since `fail`.
int stop();

} // namespace FailingCalls

#pragma once

#include <istream>
#include <string>
#include <vector>

/// A system call that succeeded, or the end of a process.
struct SystemCall
{
    static constexpr const char *kEnd = "end";       ///< the name of the end of a process
    static constexpr const char *kSignal = "signal"; ///< the name of a signal's arrival; its argument says which

    int process = 0; ///< the process, whichever of its threads called
    std::string name;
    std::vector<std::string> arguments; ///< as strace writes them
    std::string result;
};

/// The calls in what `strace -f -y` has written, in the order in which they began. Which threads make one process is
/// known only where the calls that start threads and processes are among the traced ones.
std::vector<SystemCall> readSystemCalls(std::istream &trace);

/// The strings in an argument, with their escapes resolved.
std::vector<std::string> stringsIn(const std::string &argument);

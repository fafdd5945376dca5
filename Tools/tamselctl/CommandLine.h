#pragma once

#include "Tools/tamselctl/Verb.h"

#include <functional>
#include <string>
#include <vector>

/// Does what the words of a command line (without the program's name) ask for. `prepare` is called before a verb runs;
/// help and manual do without.
ExitCode runCommandLine(const std::vector<std::string> &words, const std::function<void()> &prepare);

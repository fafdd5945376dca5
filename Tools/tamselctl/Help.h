#pragma once

#include "Tools/tamselctl/Verb.h"

#include <string>
#include <vector>

/// What `tamselctl --help` prints: every verb with its summary.
std::string usage();

/// What `tamselctl VERB --help` prints.
std::string help(const Verb &verb);

/// The same for every verb whose first word is `word`.
std::string helpForGroup(const std::string &word);

/// "tamselctl 1.0.0" and a line end.
std::string versionLine();

/// The parts of a text in the form of `Verb::help`: paragraphs, each one line, and examples, whose lines start with a
/// space.
struct TextBlock
{
    bool isExample = false;
    std::string text;
};
std::vector<TextBlock> textBlocks(const std::string &text);

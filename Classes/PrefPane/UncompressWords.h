#pragma once

#include "Classes/PrefPane/ExpansionReason.h"

#include <QString>

#include <string>
#include <vector>

struct ExpansionProgress;
struct SpaceShortage;

/// What is said of a run to people. Any thread.
namespace UncompressWords {

/// Whether files of this reason were expanded, have failed, or were left alone; in this order they are shown.
enum class Kind { Expanded, Failed, LeftAlone };
Kind kindOf(const ExpansionReason &reason);

/// The reason, as a heading.
QString heading(const ExpansionReason &reason);

/// "1.02 KB → 4.10 KB" of a file that was expanded, for others what is to be known besides; may be empty.
QString remark(const ExpansionEntry &entry);

/// A path or a message that may name one, in one line: control characters are written as "\n" or "\x07".
QString oneLine(const std::string &text);

/// A file as a line of text: heading, remark and path, separated by tabs; the path in its own bytes, but for control
/// characters, as above.
std::string line(const ExpansionEntry &entry);

/// Both figures for each volume that is too small.
QString question(const std::vector<SpaceShortage> &shortages);

/// How far a run is, in one line.
QString state(const ExpansionProgress &progress);

/// How far it is in thousandths of the bytes, or of the files where they have none.
int permille(const ExpansionProgress &progress);

} // namespace UncompressWords

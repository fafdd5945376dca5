#include "Tools/tamselctl/Verbs.h"

static constexpr Option kListenOptions[] = {
    {"--count", "N", "End after N notifications."},
    {"--timeout", "S", "End after S seconds; with --count, having heard fewer by then is a failure."},
};

static constexpr Option kExcludeOptions[] = {
    {"--only", nullptr, "No rules but those of the files that are given."},
    {"--rules", "FILE", "Take the rules of this file too.", false, true},
};

static constexpr Option kCompressOptions[] = {
    {"--to", "FOLDER", "The existing folder that gets the copies.", true},
};

static constexpr Option kIsOpenOptions[] = {
    {"--writing", nullptr, "Tell whether a process writes to it, too."},
    {"--excluding-own", nullptr, "Leave tamselctl itself out; with --writing, of that answer alone."},
};

static constexpr Option kExpandFileOptions[] = {
    {"--to", "DEST", "Write the expanded file there, and leave FILE compressed."},
    {"--ignore-compression-flag", nullptr, "Expand a file too that is not known as compressed."},
};

static constexpr Option kAttributesOptions[] = {
    {"--no-follow", nullptr, "Of a link its own attributes, not its target's."},
};

static constexpr Option kAttributesCopyOptions[] = {
    {"--skip", "NAME", "Leave this attribute out, in whatever case it is written.", false, true},
};

static constexpr Option kFoldersAddOptions[] = {
    {"--add-anyway", nullptr, "Add folders that need a warning without asking."},
    {"--cancel", nullptr, "Leave folders out that need a warning, without asking."},
};

static constexpr Verb kVerbs[] = {
    {"status",
     "",
     0,
     0,
     {},
     "Show the settings, what runs, and what was saved",
     "Prints the application-support folder, the settings, whether the helper and the panel run, whether there is a "
     "session bus, how many folders are watched and how many bytes were saved: in all (totalSavings) and in folders "
     "that were removed from the list since (previousSavings).",
     showStatus},
    {"on",
     "",
     0,
     0,
     {},
     "Switch the helper on",
     "A panel that runs is asked to do what a click on its switch would do. Where none runs, \"active\" is set in "
     "defaults.plist, the login item is added where the account has a list of them, the helper is launched if it does "
     "not run, and \"com.dovrane.pellix.active\" is posted.\n\n"
     "A defaults.plist that cannot be read as a property list is kept beside the new one, under a name with the date.",
     switchOn},
    {"off",
     "",
     0,
     0,
     {},
     "Switch the helper off",
     "The opposite of \"on\". The helper stops its work at once; it is not ended.",
     switchOff},
    {"history",
     "",
     0,
     0,
     {},
     "Show the watched folders and what was saved in each",
     "One line for each folder on the list: the bytes saved, the progress in percent and the path. Savings of folders "
     "that were removed from the list come last, as \"Other\". With --json each folder has the keys sortID, folder, "
     "path, "
     "status, savings and enabled; \"Other\" has no enabled.",
     showHistory},
    {"folders list",
     "",
     0,
     0,
     {},
     "Show the watched folders",
     "One line for each folder on the list: where it is now, or where it was when it is missing.",
     listFolders},
    {"folders add", "PATH...", 1, kAnyNumber, kFoldersAddOptions, "Watch folders",
     "Asks for the volume of each folder, as the panel does. Folders on removable volumes are left out, which counts "
     "as a failure. Those that are not on the main boot volume, or on one of another format, need a warning: without "
     "an option it is shown on a terminal, and a \"y\" adds them anyway; where no terminal can be asked, nothing is "
     "added. The helper is launched if it does not run, and told by \"com.dovrane.pellix.folders\". What it refuses "
     "is a failure too: the whole disk, folders of the system, its own, and those that may not be read.\n\n"
     "A folder that is watched already stays so, and is looked through again.",
     addFolders},
    {"folders remove",
     "PATH...",
     1,
     kAnyNumber,
     {},
     "Stop watching folders",
     "What was saved in them stays in the sums. A missing folder is named as \"folders list\" shows it.",
     removeFolders},
    {"post",
     "NAME [KEY=VALUE]... [KEY+=ELEMENT]...",
     1,
     kAnyNumber,
     {},
     "Post a notification",
     "KEY=VALUE adds a string to what the notification carries. KEY+=ELEMENT adds one element to an array of strings; "
     "repeat it for more. All of it must be UTF-8. Ends when the bus has taken the notification; nobody need "
     "listen.\n\n"
     " tamselctl post com.dovrane.pellix.folders foldersToAdd+=\"$HOME/Documents\"",
     postNotification},
    {"listen", "", 0, 0, kListenOptions, "Print the notifications that are posted from now on",
     "One line for each, in the form that \"post\" takes; with --json an object with the keys name and userInfo. Says "
     "\"listening\" on standard error once no later post can be missed.",
     listenToNotifications},
    {"size",
     "BYTES",
     1,
     1,
     {},
     "Show how the panel writes a number of bytes",
     "BYTES is a decimal number from 0 to 18446744073709551615.",
     showSize},
    {"alias make",
     "PATH >FILE",
     1,
     1,
     {},
     "Make an alias record of a file or folder",
     "Writes the bytes of the record to standard output.",
     makeAlias},
    {"alias info",
     "FILE",
     1,
     1,
     {},
     "Show what the alias record in a file says of its target",
     "Works without the target being there.",
     showAlias},
    {"alias resolve",
     "FILE",
     1,
     1,
     {},
     "Print where the target of the alias record in a file is now",
     "Finds a target that was renamed or moved on its volume. Another file that now has the old name is not taken for "
     "it; that is a failure. Neither the record nor the target is changed.",
     resolveAlias},
    {"must-exclude", "PATH...", 1, kAnyNumber, kExcludeOptions, "Show whether rules forbid to touch a file",
     "Says of each path whether a rule excludes it from compression, and which: the first kind that matches, in the "
     "order suffix, prefix, contains, exact, and a rule of that kind. The rules are the operating system's, where it "
     "has any, then those that come with the helper, then those of each FILE: a property list, XML or binary, with an "
     "array of dictionaries in which \"RuleType\" is \"Exclude\". The lists of excluded paths and extensions are no "
     "rules.\n\n"
     "Paths are compared as they are given, byte by byte: a relative one is not made absolute, links are not followed, "
     "and no file need be there. A path that is not excluded is no failure; with --json its kind and rule are "
     "empty.\n\n"
     " tamselctl must-exclude --only --rules my.plist \"$HOME/film.mkv\"",
     showExclusionByRules},
    {"exclusions paths",
     "list | add PATH... | remove PATH...",
     1,
     kAnyNumber,
     {},
     "Show or change the list of folders and files that are left alone",
     "\"list\" prints the absolute paths in the order in which they were added, \"add\" adds those that are not there "
     "yet, \"remove\" removes those that are. A slash at the end of a path does not count. \"/\" cannot be excluded. "
     "What is so already is no failure.\n\n"
     "A panel that runs is asked to make the change, one entry after the other. Where none runs, excludedPaths.plist "
     "is written and \"com.dovrane.pellix.excludedPaths\" is posted. A user who has no list yet gets the one that "
     "comes "
     "with Tamsel first.",
     changeExcludedPaths},
    {"exclusions extensions",
     "list | add EXTENSION... | remove EXTENSION...",
     1,
     kAnyNumber,
     {},
     "Show or change the list of extensions that are left alone",
     "As \"exclusions paths\", for the extensions of files, without their dot. Case counts: jpg and JPG are two. They "
     "are kept in excludedExtensions.plist, and \"com.dovrane.pellix.excludedExtensions\" is posted.",
     changeExcludedExtensions},
    {"compress", "FILE...", 1, kAnyNumber, kCompressOptions, "Write compressed copies of files into a folder",
     "Each copy consists of an empty file NAME with the compressed-file flag and the attribute com.apple.decmpfs, and "
     "of ._NAME beside it with the compressed content. The originals are not touched. Programs that know nothing of "
     "this form read the copy as an empty file, which is why nothing is ever compressed in place here.\n\n"
     "The copy has the mode and, where that is allowed, the owner of the original. Both files are on the disk and have "
     "been read back and compared before the copy counts as written. Nothing that stands in FOLDER is replaced. Left "
     "out, with the reason: whatever is no plain file, a file with a resource fork, a name over 253 bytes, a file over "
     "512 MiB, and one that would take no less room. The others are written all the same, and the exit status is 1.",
     compressFiles},
    {"expand",
     "PATH...",
     1,
     kAnyNumber,
     {},
     "Turn compressed files back into ordinary ones, in their place",
     "Expands every file at and below each PATH that is stored compressed, has 4096 bytes or more, belongs to you and "
     "to one of your groups and is writable. Links are not followed; other volumes below PATH are entered. What is "
     "left alone is counted by the reason.\n\n"
     "The expanded file is written whole beside the compressed one or in the temporary folder, and is on the disk "
     "before it takes its place, with all attributes, mode, owner and times. A file that another process has open for "
     "writing, or whose compressed content other names share, is left as it is. With --json each line has an event: "
     "willExpand, didExpand with its result, finished, and summary at the end.\n\n"
     "An interrupt (Ctrl-C) ends the work between two blocks; the file that is being expanded stays compressed, and "
     "the summary says what was done. The exit status is 1 when a file could not be expanded; one that is left alone "
     "is no such file.",
     expandPaths},
    {"expand-file", "FILE", 1, 1, kExpandFileOptions, "Turn one compressed file back into an ordinary one",
     "Whatever its size and owner. With --to a file that is there is replaced and keeps its mode and owner; a new one "
     "gets the mode 755 less your mask. A file with content of its own is never replaced by the compressed content "
     "beside it.\n\n"
     "A failure is told with domain, code and message where it has them; with --json one object says ok, and on "
     "failure "
     "domain, code, message and reason. A file whose content is damaged is no longer known as compressed afterwards; "
     "nothing of it is lost, and \"repair\" undoes that where it can.",
     expandFile},
    {"repair",
     "PATH...",
     1,
     kAnyNumber,
     {},
     "Make files known as compressed again after a failed expansion",
     "A file whose expansion failed or was killed can be left without the flag by which it is known as compressed: "
     "programs see an empty file then. This sets the flag again, after every block of the content has been inflated "
     "and checked. In a folder, and on volumes below it, every compressed file is checked that way, also one that is "
     "known as compressed.",
     repairPaths},
    {"attributes list", "PATH", 1, 1, kAttributesOptions, "List the extended attributes of a file",
     "The names, in the order of the file system.", listAttributes},
    {"attributes get", "PATH NAME", 2, 2, kAttributesOptions, "Print the value of an extended attribute",
     "Its bytes, with nothing added.", getAttribute},
    {"attributes set", "PATH NAME VALUE", 3, 3, kAttributesOptions, "Create or replace an extended attribute",
     "The value is the bytes of VALUE. A failure is told with domain, code and message.", setAttribute},
    {"attributes copy", "FROM TO", 2, 2, kAttributesCopyOptions, "Copy the extended attributes of one file to another",
     "Those that TO has besides are kept. Links themselves are meant, not their targets. One that cannot be written "
     "does "
     "not keep the others from being copied; the exit status is 1 then.",
     copyAttributes},
    {"inspect",
     "FILE",
     1,
     1,
     {},
     "Show how a compressed file is stored",
     "Prints the flags, the header in com.apple.decmpfs (compressionType, uncompressedSize), the header of the "
     "resource "
     "fork (dataOffset, mapOffset, dataLength, mapLength), its block table (numBlocks, and blockOffset and blockSize "
     "of each), the logical and the occupied size. What is wrong with them is printed too and makes the exit "
     "status 1. A file that is not compressed is no fault.",
     inspectFile},
    {"users",
     "FILE",
     1,
     1,
     {},
     "Show which processes use a file or folder",
     "One line for each process: its number, and how it has the file open, as far as its first descriptor of it tells. "
     "The file is known by what it is, not by its name; a link is not followed. A process whose working directory it "
     "is counts as one that writes. With --json the keys are pid, mode (0 reading, 1 writing, 2 both, 65535 working "
     "directory) and isWriting.\n\n"
     "Other users' processes are told to root only. A file that is mapped into memory and no longer open is not seen.",
     showUsers},
    {"is-open", "FILE", 1, 1, kIsOpenOptions, "Tell whether any process uses a file or folder",
     "Prints isOpen, and with --writing also forWriting. The exit status is 0 whatever the answer; what \"users\" says "
     "of processes that are not seen holds here.",
     showWhetherOpen},
    {"volume",
     "PATH...",
     1,
     kAnyNumber,
     {},
     "Show on what kind of volume files or folders lie",
     "Prints for each path, whose last link is followed, a number that is the same for paths between which a file can "
     "be renamed (volumeReferenceNumber, which holds for this call alone), the type of the file system (\"hfs\" for "
     "those with transparent compression), whether the volume is removable, ejectable, on a bus inside or outside the "
     "machine, and writable, and what its format can do: exchangedataSupported is yes where a journal is in use.",
     showVolumes},
    {"compare-versions",
     "A B",
     2,
     2,
     {},
     "Show which of two versions is newer",
     "Numbers are compared by value, and letters make a version older than the plain number: 1.0b2, 1.0b10, 1.0, "
     "1.0.1. "
     "With --json, order is -1 when A is older, 0 when both are the same and 1 when A is newer.",
     compareVersions},
    {"fetch",
     "URL",
     1,
     1,
     {},
     "Print what is at a URL",
     "Only http and https, and up to 64 MiB. Redirects are followed. The page is printed whatever status the server "
     "gives it; that it cannot be had, or that nothing comes for 30 seconds, is a failure.",
     fetchPage},
};

static constexpr ManualSection kSections[] = {
    {"DESCRIPTION",
     "Tamsel saves disk space by keeping files compressed. Its panel sets what is done, its helper does it in the "
     "background. tamselctl shows and changes the state of both from scripts, and collects what a report of a fault "
     "needs.\n\n"
     "In this version the helper looks for files that are stored compressed and counts what they save. It does not "
     "compress or change any file; \"expand\" does, where it is told to."},
    {"OUTPUT",
     "Text for people, whose form may change. With --json every line is one JSON object, whose keys keep their names; "
     "numbers of bytes go up to 18446744073709551615. A byte of a file name that is not UTF-8 is written as the escape "
     "\\udc80 to \\udcff, from which Python's os.fsencode and other programs get it back."},
    {"EXIT STATUS",
     "0: done.\n\n1: not done, or not all of it; the reason is on standard error.\n\n2: wrong use; nothing was done."},
    {"FILES",
     "Below $XDG_DATA_HOME, or ~/.local/share: Tamsel/defaults.plist holds the settings, Tamsel/history.db the watched "
     "folders and their savings, Tamsel/excludedPaths.plist and Tamsel/excludedExtensions.plist what is left alone. A "
     "folder Pellix or Pellixer of an earlier installation is used in place of Tamsel."},
};

std::span<const Verb> verbs()
{
    return kVerbs;
}

std::span<const ManualSection> manualSections()
{
    return kSections;
}

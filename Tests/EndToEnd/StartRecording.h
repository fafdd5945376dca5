#pragma once

#include "Tests/EndToEnd/SystemCalls.h"

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

/// What a traced host and the programs that it starts do to files, send to the bus and start, in its order, each as a
/// short line such as "file: make ~/Tamsel/", "bus: post NAME", "process: start TamselHelper". Left out are the files
/// that SQLite keeps beside a database, which come and go as it likes, those below /dev and /proc, and what a
/// connection to the bus needs for itself.
class StartRecording final
{
public:
    /// Reads what strace has written. `root`: the folder of the test's homes, whose `existing` files were there before.
    StartRecording(const std::filesystem::path &trace, std::filesystem::path root, std::set<std::string> existing);

    /// What these programs did, from the loading of the pane until the host was told to end.
    std::vector<std::string> linesOf(const std::set<std::string> &programs) const;

    /// What the host did before.
    std::vector<std::string> linesBeforeLoad() const;

    /// The processes that ran this program.
    std::vector<int> processesOf(const std::string &program) const;

    /// All that lies below the folder.
    static std::set<std::string> filesBelow(const std::filesystem::path &root);

private:
    struct Event
    {
        std::string program;
        std::string line;
    };

    void read(const SystemCall &call);
    void readExecution(const SystemCall &call);
    void readOpening(const SystemCall &call);
    void readRenaming(const SystemCall &call);
    void readMessage(const SystemCall &call);
    void readChange(const SystemCall &call);
    void add(const SystemCall &call, const std::string &line);
    void addFile(const SystemCall &call, const std::string &what, const std::string &path);
    std::string shortened(const std::string &path) const;

    std::filesystem::path m_root;
    std::set<std::string> m_existing;
    std::map<int, std::string> m_programs;
    std::map<int, int> m_parents;
    std::vector<Event> m_events;
    bool m_isEnding = false;
};

#include "Tests/EndToEnd/StartRecording.h"

#include "Tests/EndToEnd/BusMessage.h"

#include <algorithm>
#include <fstream>
#include <utility>

namespace fs = std::filesystem;

static constexpr const char *kCenter = "com.dovrane.DistributedNotificationCenter";
static constexpr const char *kLoading = "process: load the pane";

/// The file meant by the argument `index`, and by the one before it where that names a folder.
static std::string pathAt(const SystemCall &call, std::size_t index)
{
    const auto opened = [&call](std::size_t at) {
        const std::string &argument = call.arguments.at(at); // "8</some/file>"
        const std::size_t bracket = argument.find('<');
        return bracket == std::string::npos ? std::string()
                                            : argument.substr(bracket + 1, argument.rfind('>') - bracket - 1);
    };
    const std::vector<std::string> names = stringsIn(call.arguments.at(index));
    if (names.empty())
        return opened(index);
    const fs::path folder = index > 0 ? opened(index - 1) : std::string();
    return (folder / names.front()).native();
}

static bool isPassing(const std::string &path)
{
    const std::string name = fs::path(path).filename().native();
    return name.starts_with(".tamsel-") && name.ends_with(".new");
}

/// This host writes into a pipe of the test's, so its helper has a log file, in a folder that may have to be made.
static bool isForTheLog(const fs::path &path)
{
    const fs::path folder = path.parent_path(); // of a folder, which ends in a slash, the folder itself
    const bool isFolder = folder.filename().native().starts_with("tamsel-") && folder.parent_path().filename() == "tmp";
    return isFolder && (!path.has_filename() || path.filename() == "TamselHelper.log");
}

static bool isLeftOut(const std::string &path)
{
    const auto begins = [&path](const char *start) { return path.starts_with(start); };
    const auto ends = [&path](const char *end) { return path.ends_with(end); };
    return begins("/dev/") || begins("/proc/") || ends("-wal") || ends("-shm") || ends("-journal") || isForTheLog(path);
}

static bool isForTheConnection(const std::string &line)
{
    static const std::set<std::string> lines = {"bus: call Hello", "bus: call GetId", "bus: watch Disconnected",
                                                "bus: watch NameAcquired", "bus: watch NameLost"};
    return lines.contains(line);
}

StartRecording::StartRecording(const fs::path &trace, fs::path root, std::set<std::string> existing)
    : m_root(std::move(root))
    , m_existing(std::move(existing))
{
    std::ifstream file(trace);
    for (const SystemCall &call : readSystemCalls(file))
        read(call);
}

std::set<std::string> StartRecording::filesBelow(const fs::path &root)
{
    std::set<std::string> files;
    for (const auto &entry : fs::recursive_directory_iterator(root))
        files.insert(entry.path().native());
    return files;
}

std::vector<std::string> StartRecording::linesOf(const std::set<std::string> &programs) const
{
    std::vector<std::string> lines;
    const auto loading = std::ranges::find(m_events, kLoading, &Event::line);
    for (auto event = loading; event != m_events.end(); ++event) {
        if (programs.contains(event->program) && event->line != kLoading)
            lines.push_back(event->line);
    }
    return lines;
}

std::vector<std::string> StartRecording::linesBeforeLoad() const
{
    std::vector<std::string> lines;
    for (const Event &event : m_events) {
        if (event.line == kLoading)
            break;
        lines.push_back(event.line);
    }
    return lines;
}

std::vector<int> StartRecording::processesOf(const std::string &program) const
{
    std::vector<int> processes;
    for (const auto &[process, name] : m_programs) {
        if (name == program)
            processes.push_back(process);
    }
    return processes;
}

void StartRecording::read(const SystemCall &call)
{
    const std::string &name = call.name;
    if (name == SystemCall::kSignal)
        m_isEnding = m_isEnding || call.arguments.front() == "SIGTERM";
    else if (name == SystemCall::kEnd)
        add(call, "process: " + m_programs[call.process] + " ends");
    else if (name.starts_with("clone") || name.ends_with("fork"))
        m_parents.try_emplace(std::stoi(call.result), call.process);
    else if (name == "execve")
        readExecution(call);
    else if (name.starts_with("open") || name == "creat")
        readOpening(call);
    else if (name.starts_with("rename"))
        readRenaming(call);
    else if (name == "sendmsg")
        readMessage(call);
    else
        readChange(call);
}

void StartRecording::readExecution(const SystemCall &call)
{
    const std::string program = fs::path(stringsIn(call.arguments.at(0)).front()).filename();
    std::string line = "process: start " + program;
    const std::vector<std::string> arguments = stringsIn(call.arguments.at(1));
    for (std::size_t index = 1; index < arguments.size(); ++index)
        line += " \"" + shortened(arguments[index]) + '"';
    SystemCall byParent = call;
    byParent.process = m_parents[call.process];
    add(byParent, line);
    m_programs[call.process] = program;
}

void StartRecording::readOpening(const SystemCall &call)
{
    const std::size_t index = call.name == "openat" ? 1 : 0;
    const std::string path = pathAt(call, index);
    const std::string flags = call.name == "creat" ? "O_WRONLY|O_CREAT|O_TRUNC" : call.arguments.at(index + 1);
    const auto has = [&flags](const char *flag) { return flags.find(flag) != std::string::npos; };
    if (path.ends_with("/Contents/MacOS/Tamsel"))
        add(call, kLoading);
    if (!has("O_WRONLY") && !has("O_RDWR"))
        return;
    const bool isNew = has("O_CREAT") && !m_existing.contains(path);
    addFile(call, isNew ? "make" : has("O_TRUNC") ? "truncate" : "open to write", path);
    m_existing.insert(path);
}

void StartRecording::readRenaming(const SystemCall &call)
{
    const bool hasFolders = call.name != "rename";
    const std::string from = pathAt(call, hasFolders ? 1 : 0);
    const std::string to = pathAt(call, hasFolders ? 3 : 1);
    if (isPassing(from))
        addFile(call, m_existing.contains(to) ? "replace" : "make", to);
    else
        addFile(call, "rename " + shortened(from) + " to", to);
    m_existing.erase(from);
    m_existing.insert(to);
}

void StartRecording::readChange(const SystemCall &call)
{
    // The path is the last argument that is a string, or the descriptor where there is none.
    std::size_t index = 0;
    for (std::size_t at = 0; at < call.arguments.size(); ++at)
        index = call.arguments[at].starts_with('"') ? at : index;
    const std::string path = pathAt(call, index);
    const bool isFolder = call.name.starts_with("mkdir");
    if (call.name.starts_with("unlink") || call.name == "rmdir") {
        m_existing.erase(path);
        addFile(call, isPassing(path) ? "give up" : "remove", path);
    } else if (isFolder) {
        m_existing.insert(path);
        addFile(call, "make", path + '/');
    } else if (!call.arguments.empty() && !path.empty()) {
        addFile(call, call.name, path);
    }
}

/// The value of KEY='VALUE' in a match rule.
static std::string valueOf(const std::string &key, const std::string &rule)
{
    const std::size_t at = rule.find(key + "='");
    const std::size_t start = at + key.size() + 2;
    return at == std::string::npos ? std::string() : rule.substr(start, rule.find('\'', start) - start);
}

void StartRecording::readMessage(const SystemCall &call)
{
    std::string bytes;
    for (const std::string &piece : stringsIn(call.arguments.at(1)))
        bytes += piece;
    const std::optional<BusMessage> message = BusMessage::read(bytes);
    if (!message)
        return;
    const std::string rule = message->strings.empty() ? std::string() : message->strings.front();
    const bool isMatch = message->member == "AddMatch";
    std::string line = "bus: call " + message->member;
    std::vector<std::string> words = message->strings;
    if (message->type == BusMessage::Type::Answer || message->type == BusMessage::Type::Error)
        line = "bus: answer";
    else if (message->type == BusMessage::Type::Signal)
        line = message->interface == kCenter ? "bus: post" : "bus: signal " + message->member;
    else if (isMatch && valueOf("interface", rule) == kCenter)
        line = "bus: observe";
    else if (isMatch)
        line = "bus: watch " + valueOf("member", rule);
    if (isMatch)
        words = {valueOf("arg0", rule)};
    for (const std::string &word : words)
        line += word.empty() ? word : ' ' + shortened(word);
    if (!isForTheConnection(line))
        add(call, line);
}

void StartRecording::addFile(const SystemCall &call, const std::string &what, const std::string &path)
{
    // A new file that is on its way to its place shows when it gets there.
    if (!isLeftOut(path) && !(isPassing(path) && what != "give up"))
        add(call, "file: " + what + ' ' + shortened(path));
}

void StartRecording::add(const SystemCall &call, const std::string &line)
{
    const std::string &program = m_programs[call.process];
    const bool isAgain = !m_events.empty() && line == kLoading && m_events.back().line == line;
    if (!m_isEnding && !isAgain)
        m_events.push_back({program, line});
}

std::string StartRecording::shortened(const std::string &path) const
{
    const std::pair<fs::path, const char *> folders[] = {{m_root / "home/.local/share", ""}, {m_root / "home", "~"}};
    for (const auto &[folder, name] : folders) {
        if (path.starts_with(folder.native() + '/'))
            return name + path.substr(folder.native().size() + (*name ? 0 : 1));
    }
    return path;
}

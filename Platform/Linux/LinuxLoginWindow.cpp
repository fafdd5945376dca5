#include "Platform/Linux/LinuxLoginWindow.h"

#include "Platform/FileSystem.h"
#include "Platform/Formats/Hexadecimal.h"
#include "Platform/UserFolders.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

static constexpr ByteCount kLongestEntry = 256 * 1024;
static constexpr int kMostOwnEntries = 32;

static constexpr const char *kPath = "X-Tamsel-Path";
static constexpr const char *kAliasData = "X-Tamsel-AliasData";
static constexpr const char *kHide = "X-Tamsel-Hide";
static constexpr const char *kOrder = "X-Tamsel-Order";

Result<Path> LinuxLoginWindow::folder() const
{
    if (!m_folder.empty())
        return m_folder;
    const char *const configuration = std::getenv("XDG_CONFIG_HOME");
    if (configuration && *configuration == '/')
        return Path(configuration) / "autostart";
    const Result<Path> home = UserFolders::current().home();
    if (!home)
        return home.failure();
    return *home / ".config/autostart";
}

Result<std::vector<std::string>> LinuxLoginWindow::names(const Path &folder) const
{
    Result<std::vector<std::string>> names = FileSystem::current().entries(folder);
    if (names)
        std::erase_if(*names, [](const std::string &name) { return !name.ends_with(".desktop"); });
    return names;
}

std::optional<LinuxLoginWindow::Entry> LinuxLoginWindow::readEntry(const Path &file)
{
    const Result<Bytes> content = FileSystem::current().readFile(file, kLongestEntry);
    const std::optional<DesktopEntry> entry = content ? DesktopEntry::parse(*content) : std::nullopt;
    if (!entry || entry->isTrue("Hidden"))
        return std::nullopt;
    Entry read;
    read.item.source = file.native();
    if (const std::optional<std::string> path = entry->value(kPath)) {
        read.isOurs = true;
        read.item.path = *path;
        read.item.aliasData = fromHexadecimal(entry->value(kAliasData).value_or("")).value_or(Bytes());
        read.item.hide = entry->isTrue(kHide);
        read.order = std::strtol(entry->value(kOrder).value_or("").c_str(), nullptr, 10);
    } else {
        read.item.path = DesktopEntry::programOf(entry->value("Exec").value_or(""));
    }
    return read.item.path.empty() ? std::nullopt : std::optional(read);
}

std::vector<LinuxLoginWindow::Entry> LinuxLoginWindow::readEntries(const Path &folder,
                                                                   const std::vector<std::string> &names)
{
    std::vector<Entry> entries;
    for (const std::string &name : names) {
        if (std::optional<Entry> entry = readEntry(folder / name))
            entries.push_back(std::move(*entry));
    }
    std::stable_sort(entries.begin(), entries.end(), [](const Entry &left, const Entry &right) {
        return left.isOurs != right.isOurs ? right.isOurs : left.isOurs && left.order < right.order;
    });
    return entries;
}

Result<std::optional<std::vector<LoginItem>>> LinuxLoginWindow::copyItems() const
{
    m_copied.clear();
    const Result<Path> list = folder();
    if (!list)
        return list.failure();
    const Result<std::vector<std::string>> files = names(*list);
    if (!files && files.failure().code == ErrorCode::NotFound)
        return std::optional<std::vector<LoginItem>>();
    if (!files)
        return files.failure();
    for (Entry &entry : readEntries(*list, *files))
        m_copied.push_back(std::move(entry.item));
    return std::optional(m_copied);
}

static Bytes contentFor(const LoginItem &item, long order)
{
    const std::string name = item.path.stem().native();
    DesktopEntry entry;
    entry.add("Type", "Application");
    entry.add("Version", "1.4");
    entry.add("Name", name);
    entry.add("Exec", DesktopEntry::commandFor((item.path / "Contents/MacOS" / name).native()));
    entry.add("NoDisplay", "true");
    entry.add("Terminal", "false");
    entry.add(kPath, item.path.native());
    entry.add(kAliasData, toHexadecimal(item.aliasData));
    entry.add(kHide, item.hide ? "true" : "false");
    entry.add(kOrder, std::to_string(order));
    return bytesOf(entry.text());
}

/// Takes the first of our names that no entry of the list bears; a file that the user has switched off or that cannot
/// be read as an entry is replaced, anything but a file is left.
Result<Path> LinuxLoginWindow::add(const LoginItem &item, long order, const Path &folder,
                                   const std::vector<Entry> &others)
{
    FileSystem &files = FileSystem::current();
    const Bytes content = contentFor(item, order);
    for (int number = 1; number <= kMostOwnEntries; ++number) {
        const Path stem = Path(kEntryName).stem();
        const Path file =
            folder / (number == 1 ? kEntryName : stem.native() + "-" + std::to_string(number) + ".desktop");
        if (std::any_of(others.begin(), others.end(), [&](const Entry &each) { return each.item.source == file; }))
            continue;
        const Result<FileStatus> status = files.status(file, Links::NotFollow);
        if (!status && status.failure().code != ErrorCode::NotFound)
            return status.failure();
        if (status && status->type != FileType::Regular)
            continue;
        const Result<void> done = status ? files.replaceFile(file, content) : files.createFile(file, content);
        if (!done && done.failure().code == ErrorCode::Exists)
            continue;
        return done ? Result<Path>(file) : done.failure();
    }
    return Failure{ErrorCode::Exists, 0, "no name is left in " + folder.native()};
}

Result<void> LinuxLoginWindow::storeItems(const std::vector<LoginItem> &items)
{
    const Result<Path> list = folder();
    if (!list)
        return list.failure();
    const Result<std::vector<std::string>> files = names(*list);
    if (!files)
        return files.failure().code == ErrorCode::NotFound ? Result<void>() : files.failure();
    const std::vector<Entry> entries = readEntries(*list, *files);
    std::vector<Entry> kept, dropped;
    for (const Entry &entry : entries) {
        const auto isThis = [&](const LoginItem &each) { return each.source == entry.item.source; };
        const bool isWanted = std::any_of(items.begin(), items.end(), isThis);
        const bool wasSeen = std::find(m_copied.begin(), m_copied.end(), entry.item) != m_copied.end();
        (isWanted || !wasSeen ? kept : dropped).push_back(entry);
    }

    long order = 0;
    for (const Entry &entry : entries)
        order = std::max(order, std::min(entry.order, std::numeric_limits<long>::max() - kMostOwnEntries));
    std::vector<Path> written;
    for (const LoginItem &item : items) {
        if (!item.source.empty())
            continue;
        const Result<Path> file = add(item, ++order, *list, kept);
        if (!file)
            return file.failure();
        written.push_back(*file);
        kept.push_back({{item.path, item.aliasData, item.hide, file->native()}, true, order});
    }
    for (const Entry &entry : dropped) {
        if (std::find(written.begin(), written.end(), entry.item.source) != written.end())
            continue;
        const Result<void> removed = FileSystem::current().removeFile(entry.item.source);
        if (!removed && removed.failure().code != ErrorCode::NotFound)
            return removed.failure();
    }
    return {};
}

/// The directory and whatever is missing above it.
static Result<void> makeDirectories(const Path &directory)
{
    FileSystem &files = FileSystem::current();
    if (files.status(directory, Links::Follow) || !directory.has_relative_path())
        return {};
    if (const Result<void> above = makeDirectories(directory.parent_path()); !above)
        return above;
    const Result<void> made = files.makeDirectory(directory, 0700);
    return !made && made.failure().code == ErrorCode::Exists ? Result<void>() : made;
}

Result<void> LinuxLoginWindow::makeList()
{
    const Result<Path> list = folder();
    return list ? makeDirectories(*list) : list.failure();
}

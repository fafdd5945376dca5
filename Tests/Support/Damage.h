#pragma once

#include "Platform/Types.h"
#include "Tests/Support/FileContent.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>

#include <sys/stat.h>

/// Something that may have become of a file.
struct Damage
{
    const char *name;
    void (*apply)(const Path &file); ///< the file is there and whole

    friend void PrintTo(const Damage &damage, std::ostream *stream) { *stream << damage.name; }
};

namespace Damages {

/// More than is read of any file of ours; takes no room on the disk.
inline constexpr ByteCount kHuge = ByteCount{100} << 20;

inline void putInPlace(const Path &file, const std::string &content)
{
    std::filesystem::remove(file);
    writeFile(file, content);
}

inline std::string nested(int levels)
{
    std::string opened, closed;
    for (int level = 0; level < levels; ++level) {
        opened += "<array>";
        closed += "</array>";
    }
    return "<plist version=\"1.0\">" + opened + closed + "</plist>";
}

inline constexpr Damage kAll[] = {
    {"missing", [](const Path &file) { std::filesystem::remove(file); }},
    {"empty", [](const Path &file) { std::filesystem::resize_file(file, 0); }},
    {"cutOff", [](const Path &file) { std::filesystem::resize_file(file, std::filesystem::file_size(file) / 2); }},
    {"zeros", [](const Path &file) { putInPlace(file, std::string(std::filesystem::file_size(file), '\0')); }},
    {"aString", [](const Path &file) { putInPlace(file, "<plist version=\"1.0\"><string>x</string></plist>"); }},
    {"numbersInAnArray",
     [](const Path &file) { putInPlace(file, "<plist version=\"1.0\"><array><integer>7</integer></array></plist>"); }},
    {"aMillionLevels", [](const Path &file) { putInPlace(file, nested(1'000'000)); }},
    {"huge", [](const Path &file) { std::filesystem::resize_file(file, kHuge); }},
    {"aFolder",
     [](const Path &file) {
         std::filesystem::remove(file);
         std::filesystem::create_directory(file);
         writeFile(file / "precious", "precious");
     }},
    {"aPipe",
     [](const Path &file) {
         std::filesystem::remove(file);
         ::mkfifo(file.c_str(), 0600);
     }},
    {"aLinkToEndlessZeros",
     [](const Path &file) {
         std::filesystem::remove(file);
         std::filesystem::create_symlink("/dev/zero", file);
     }},
};

} // namespace Damages

/// A file as it was, to be found again whatever it is called by then.
class Precious final
{
public:
    /// What is at `file` now, which may be nothing.
    explicit Precious(const Path &file)
        : m_folder(file.parent_path())
        , m_isThere(::lstat(file.c_str(), &m_status) == 0)
    {
        if (isReadable(m_status))
            m_content = readAt(file, std::size_t(m_status.st_size));
    }

    /// Whether it, or a copy of it, is in its folder under whatever name. Holds where there was nothing, and where
    /// nothing was in it.
    bool isThere() const
    {
        if (!m_isThere || (S_ISREG(m_status.st_mode) && m_status.st_size == 0))
            return true;
        const auto entries = std::filesystem::directory_iterator(m_folder);
        return std::any_of(begin(entries), end(entries), [this](const auto &entry) { return isAt(entry.path()); });
    }

private:
    static bool isReadable(const struct stat &status)
    {
        return S_ISREG(status.st_mode) && ByteCount(status.st_size) < Damages::kHuge;
    }
    static std::string readAt(const Path &file, std::size_t size)
    {
        std::string content(size, '\0');
        std::ifstream(file, std::ios::binary).read(content.data(), std::streamsize(size));
        return content;
    }
    bool isAt(const Path &file) const
    {
        struct stat found = {};
        if (::lstat(file.c_str(), &found) != 0 || (found.st_mode & S_IFMT) != (m_status.st_mode & S_IFMT))
            return false;
        const bool isSameSize = !S_ISREG(found.st_mode) || found.st_size == m_status.st_size;
        if (!isReadable(m_status) || !isSameSize)
            return isSameSize && found.st_ino == m_status.st_ino;
        return readAt(file, m_content.size()) == m_content;
    }

    Path m_folder;
    struct stat m_status = {};
    bool m_isThere = false;
    std::string m_content; ///< of a file that is not huge
};

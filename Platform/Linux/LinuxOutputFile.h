#pragma once

#include "Platform/FileSystem.h"
#include "Platform/Linux/Descriptor.h"

#include <sys/stat.h>

/// A file in the making under a name that others know too. A second descriptor keeps the lock from the moment the file
/// is made until this is destroyed. One thread.
class LinuxOutputFile final : public OutputFile
{
public:
    static Result<std::unique_ptr<OutputFile>> makeScratch(const Path &path, std::uint32_t mode);
    static Result<std::unique_ptr<OutputFile>> makeNew(const Path &path, std::uint32_t mode);

    /// Removes a scratch file that a process which is gone has left, with its companion.
    static void removeAbandoned(const Path &path);

    LinuxOutputFile(Descriptor folder, Path path);
    ~LinuxOutputFile() override;
    LinuxOutputFile(const LinuxOutputFile &) = delete;
    LinuxOutputFile &operator=(const LinuxOutputFile &) = delete;

    Result<void> write(ByteView content) override;
    Result<void> close() override;
    Result<void> makeLike(const Path &original, const FileStatus &examined) override;
    Result<bool> replace(const Path &destination, const FileStatus &examined,
                         const std::function<bool()> &mayReplace) override;
    Result<void> setFlags(std::uint32_t flags) override;

private:
    Result<void> removeAbandoned() const;
    Result<void> make(mode_t mode);
    Result<void> checkName() const;
    Result<void> sync() const;
    Result<void> handOverAttributes(const Path &destination) const;
    void removeCompanion() const;

    Descriptor m_folder;
    Path m_path;
    Descriptor m_file; ///< none once it is closed
    Descriptor m_lock; ///< a second one of the same file
    bool m_isScratch = false;
    bool m_isNamed = false; ///< whether the name is this file's to remove
};

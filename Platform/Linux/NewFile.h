#pragma once

#include "Platform/Linux/Descriptor.h"
#include "Platform/Result.h"
#include "Platform/Types.h"

#include <string_view>
#include <sys/types.h>

/// A file in the making: lies under a name of its own in the folder where it is to stand, takes its place whole and
/// synced, and is removed where it does not get there. That name depends on the destination's, and the file is locked
/// until it has left it: so what a killed process has left is known, and taken away before the next one is made. One
/// thread.
class NewFile final
{
public:
    /// A new empty file in the folder of `destination`, with `mode` as far as the process's mask allows.
    static Result<NewFile> beside(const Path &destination, mode_t mode);

    /// Removes what processes that are gone have left of making a file of that name in the open folder.
    static void removeAbandoned(int folder, const Path &destination);
    static void removeAbandoned(const Path &destination);

    /// Whether a file of that name can only be one in the making.
    static bool isName(std::string_view name);

    ~NewFile();
    NewFile(NewFile &&other) noexcept;
    NewFile &operator=(NewFile &&) = delete;

    int descriptor() const { return m_file.get(); }

    /// Where it lies as long as it is in the making.
    Path path() const { return m_destination.parent_path() / m_name; }

    Result<void> write(ByteView content);

    /// Takes the file's place, over what stands there. When syncing the folder fails the new file stands, and the
    /// failure is answered.
    Result<void> replace();

    /// The same, and what stood there until then is at `kept` afterwards, in the same folder. Errors: Exists, NotFound;
    /// NotSupported when the volume cannot do that, and nothing has changed.
    Result<void> replaceKeepingOld(const Path &kept);

    /// Takes the place only where nothing stands; after a failure nothing of it stands there. Errors: Exists.
    Result<void> appear();

private:
    NewFile(Descriptor folder, Path destination);
    Result<void> open(mode_t mode);
    bool lock();
    void leaveName();
    Result<void> sync();
    Result<void> syncFolder();

    Descriptor m_folder;
    Descriptor m_file; ///< none once it is synced
    Descriptor m_lock; ///< a second one of the same file
    Path m_destination;
    Path m_name; ///< empty once the file has left this name
};

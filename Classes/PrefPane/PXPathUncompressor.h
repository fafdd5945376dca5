#pragma once

#include "Classes/PrefPane/PXPathUncompressorDelegate.h"
#include "Classes/PrefPane/PXPathUncompressorObserver.h"
#include "Platform/FileSystem.h"

#include <atomic>
#include <memory>
#include <optional>
#include <stop_token>

/// Expands in their place all files at and below one path that are stored compressed and are this user's to change.
/// Runs on the thread that calls it; delegate and observer are told there and must outlive the run.
class PXPathUncompressor final
{
public:
    enum Status : std::int32_t { NotYetRun = 0, Running = 1, Finished = 2 };

    /// Made and run; answered when the run is done.
    static std::unique_ptr<PXPathUncompressor> runUncompressorWithPath(const Path &path,
                                                                       PXPathUncompressorDelegate *delegate);

    explicit PXPathUncompressor(Path path);

    const Path &path() const { return m_path; }
    std::int32_t status() const { return m_status; }

    /// To be set before a run. A stop is looked for between two files and between two blocks of one.
    void setObserver(PXPathUncompressorObserver *observer) { m_observer = observer; }
    void setStop(std::stop_token stop) { m_stop = std::move(stop); }

    /// Does nothing while it runs already; one that has finished may be run again.
    void runWithDelegate(PXPathUncompressorDelegate *delegate);

    /// The first reason to leave the file alone, which has that status by itself; nullopt when it is to be expanded.
    static std::optional<PXPathUncompressorObserver::LeftAlone> reasonToLeaveAlone(const Path &path,
                                                                                   const FileStatus &status);

    /// Expands the file if it is one to be expanded. Answers 1 when it was tried, else 0: then nobody is told but the
    /// observer.
    std::uint32_t expandFile(const char *path);

    /// Tells the delegate before and after; whether it worked only the observer hears. Any other file than `expected`
    /// that stands at the path by now is refused.
    void expandInPlaceFileAtPath(const Path &path, const std::optional<FileIdentity> &expected = std::nullopt);

    void willExpandFile(const Path &path);
    void didExpandFile(const Path &path);
    void didFinishExpandingPath(const Path &path);

private:
    using LeftAlone = PXPathUncompressorObserver::LeftAlone;

    std::uint32_t expandFile(const Path &path, const FileStatus &status);

    const Path m_path;
    PXPathUncompressorDelegate *m_delegate = nullptr;
    PXPathUncompressorObserver *m_observer = nullptr;
    std::stop_token m_stop;
    std::atomic<std::int32_t> m_status = NotYetRun;
};

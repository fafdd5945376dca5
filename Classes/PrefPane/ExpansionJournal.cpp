#include "Classes/PrefPane/ExpansionJournal.h"

#include "Platform/FileSystem.h"
#include "Platform/UserFolders.h"

#include <unistd.h>
#include <utility>
#include <vector>
#include <zlib.h>

static constexpr std::size_t kPiece = 65536;

static gzFile fileOf(void *file)
{
    return static_cast<gzFile>(file);
}

static Failure failureOf(int systemError, const Path &path)
{
    return Failure::fromErrno(systemError == 0 ? EIO : systemError, "list of files", path);
}

ExpansionJournal::ExpansionJournal()
{
    const Result<Path> folder = UserFolders::current().temporary();
    const Result<UniqueFile> made =
        folder ? FileSystem::current().makeUniqueFile(*folder / "uncompressed.") : folder.failure();
    if (made)
        open(*made);
    else
        m_failure = made.failure();
}

/// Opens the file a second time, to be read, and takes its name away.
void ExpansionJournal::open(const UniqueFile &file)
{
    m_path = file.path;
    m_writer = ::gzdopen(file.descriptor, "wb1");
    if (!m_writer)
        ::close(file.descriptor);
    m_reader = ::gzopen(m_path.c_str(), "rbe");
    if (!m_writer || !m_reader)
        m_failure = failureOf(errno, m_path);
    (void)FileSystem::current().removeFile(m_path); // one that stays is in a folder for such
}

ExpansionJournal::~ExpansionJournal()
{
    close();
    if (m_reader)
        (void)::gzclose(fileOf(m_reader));
}

void ExpansionJournal::append(std::string_view line)
{
    if (!m_writer || m_failure)
        return;
    const bool isKept = (line.empty() || ::gzfwrite(line.data(), line.size(), 1, fileOf(m_writer)) == 1) &&
                        ::gzputc(fileOf(m_writer), '\n') != -1;
    if (!isKept)
        m_failure = failureOf(errno, m_path);
}

void ExpansionJournal::close()
{
    if (!m_writer)
        return;
    const int status = ::gzclose(fileOf(std::exchange(m_writer, nullptr)));
    if (status != Z_OK && !m_failure)
        m_failure = failureOf(status == Z_ERRNO ? errno : EIO, m_path);
}

Result<void> ExpansionJournal::read(const std::function<bool(std::string_view piece)> &take) const
{
    const gzFile file = fileOf(m_reader);
    if (!file || ::gzrewind(file) != 0)
        return m_failure.value_or(failureOf(EIO, m_path));
    std::vector<char> piece(kPiece);
    int length = 0;
    bool isWanted = true;
    while (isWanted && (length = ::gzread(file, piece.data(), unsigned(piece.size()))) > 0)
        isWanted = take(std::string_view(piece.data(), std::size_t(length)));
    int status = Z_OK;
    (void)::gzerror(file, &status); // which alone tells that the end is missing
    if (m_failure)
        return *m_failure;
    return length >= 0 && status == Z_OK ? Result<void>() : failureOf(EIO, m_path);
}

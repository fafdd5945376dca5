#include "Classes/PrefPane/ExpansionJournal.h"

#include "Platform/FileSystem.h"
#include "Platform/UserFolders.h"

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
    if (!made) {
        m_failure = made.failure();
        return;
    }
    m_path = made->path;
    m_file = ::gzdopen(made->descriptor, "wb1");
    if (!m_file)
        m_failure = failureOf(ENOMEM, m_path);
}

ExpansionJournal::~ExpansionJournal()
{
    close();
    if (!m_path.empty())
        (void)FileSystem::current().removeFile(m_path); // one that stays is in a folder for such
}

void ExpansionJournal::append(std::string_view line)
{
    if (!m_file || m_failure)
        return;
    const bool isKept = (line.empty() || ::gzfwrite(line.data(), line.size(), 1, fileOf(m_file)) == 1) &&
                        ::gzputc(fileOf(m_file), '\n') != -1;
    if (!isKept)
        m_failure = failureOf(errno, m_path);
}

void ExpansionJournal::close()
{
    if (!m_file)
        return;
    const int status = ::gzclose(fileOf(std::exchange(m_file, nullptr)));
    if (status != Z_OK && !m_failure)
        m_failure = failureOf(status == Z_ERRNO ? errno : EIO, m_path);
}

Result<void> ExpansionJournal::read(const std::function<bool(std::string_view piece)> &take) const
{
    const gzFile file = m_path.empty() ? nullptr : ::gzopen(m_path.c_str(), "rb");
    if (!file)
        return m_failure.value_or(failureOf(errno, m_path));
    std::vector<char> piece(kPiece);
    int length = 0;
    bool isWanted = true;
    while (isWanted && (length = ::gzread(file, piece.data(), unsigned(piece.size()))) > 0)
        isWanted = take(std::string_view(piece.data(), std::size_t(length)));
    const bool isWhole = ::gzclose(file) == Z_OK && length >= 0;
    if (m_failure)
        return *m_failure;
    return isWhole ? Result<void>() : failureOf(EIO, m_path);
}

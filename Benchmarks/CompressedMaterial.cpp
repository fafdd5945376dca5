#include "Benchmarks/CompressedMaterial.h"

#include "Classes/Shared/CompressedForkBuilder.h"
#include "Classes/Shared/FastZlib.h"
#include "Platform/FileSystem.h"
#include "Platform/Formats/AppleDouble.h"
#include "Platform/Formats/CompressedFile.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <zlib.h>

#include <fcntl.h>
#include <unistd.h>

static constexpr std::size_t kBlock = kCompressionBlockSize;
static constexpr ByteCount kForkOffset = kAppleDoubleHeaderSize + kAppleDoubleEntrySize;

static void require(bool holds, const Path &path)
{
    if (holds)
        return;
    std::perror(path.c_str());
    std::exit(1);
}

static Path companionOf(const Path &file)
{
    return file.parent_path() / ("._" + file.filename().native());
}

/// Appends the blocks of the file that become smaller.
static void appendBlocks(const Path &path, Bytes &bytes, std::size_t size)
{
    static FastZlib s_zlib;
    static Bytes s_packed(kBlock);
    std::ifstream file(path, std::ios::binary);
    Bytes block(kBlock);
    while (bytes.size() < size && file.read(reinterpret_cast<char *>(block.data()), std::streamsize(kBlock))) {
        if (s_zlib.deflate(block, s_packed))
            bytes.insert(bytes.end(), block.begin(), block.end());
    }
}

Bytes CompressedMaterial::collect(std::size_t size)
{
    Bytes bytes;
    bytes.reserve(size + kBlock);
    while (bytes.size() < size) {
        const std::size_t before = bytes.size();
        for (const char *folder : {"/usr/share", "/usr/lib"}) {
            const auto options = std::filesystem::directory_options::skip_permission_denied;
            for (const auto &entry : std::filesystem::recursive_directory_iterator(folder, options)) {
                std::error_code failure;
                if (bytes.size() < size && entry.is_regular_file(failure) && !entry.is_symlink(failure))
                    appendBlocks(entry.path(), bytes, size);
            }
        }
        require(bytes.size() > before, "/usr/share");
    }
    bytes.resize(size);
    return bytes;
}

CompressedMaterial::Subject::Subject(Path file, ByteView content)
    : m_file(std::move(file))
    , m_size(content.size())
{
    const Result<Bytes> fork = CompressedForkBuilder::build(content);
    require(bool(fork), m_file);
    const Result<Bytes> head = appleDoubleHead({}, fork->size());
    require(bool(head), m_file);
    std::ofstream stream(kept(), std::ios::binary);
    stream.write(reinterpret_cast<const char *>(head->data()), std::streamsize(head->size()));
    stream.write(reinterpret_cast<const char *>(fork->data()), std::streamsize(fork->size()));
    require(bool(stream.flush()), m_file);
}

bool CompressedMaterial::Subject::isWhole() const
{
    std::error_code failure;
    return std::filesystem::file_size(m_file, failure) == m_size;
}

void CompressedMaterial::Subject::restore() const
{
    std::error_code failure;
    std::filesystem::remove(m_file, failure);
    std::filesystem::remove(companionOf(m_file), failure);
    std::filesystem::remove(m_file.native() + ".out", failure); // which a walk would meet, too
    std::filesystem::create_hard_link(kept(), companionOf(m_file));
    std::ofstream(m_file).close();
    const HFSPlusDecmpfs header{kDecmpfsMagic, kResourceForkCompression, m_size};
    Bytes value(sizeof header);
    std::memcpy(value.data(), &header, sizeof header);
    FileSystem &files = FileSystem::current();
    require(files.setAttribute(m_file, kDecmpfsAttribute, value, Links::NotFollow) &&
                files.setFlags(m_file, kCompressedFlag),
            m_file);
}

void CompressedMaterial::Subject::inflateBarely(bool isByZlibAlone) const
{
    static FastZlib s_fast;
    static Bytes s_packed(kBlock), s_content(kBlock);
    const Path to = m_file.native() + ".out";
    const int from = ::open(companionOf(m_file).c_str(), O_RDONLY | O_CLOEXEC);
    const int output = ::open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    std::vector<HFSPlusCmpfRsrcBlock> table((m_size + kBlock - 1) / kBlock);
    const std::size_t tableSize = table.size() * sizeof table.front();
    off_t at = off_t(kForkOffset) + 256 + sizeof(HFSPlusCmpfRsrcBlockHead);
    require(::pread(from, table.data(), tableSize, at) == ssize_t(tableSize), m_file);
    at += off_t(tableSize);
    for (const HFSPlusCmpfRsrcBlock &block : table) {
        require(::pread(from, s_packed.data(), block.blockSize, at) == ssize_t(block.blockSize), m_file);
        at += block.blockSize;
        const ByteView packed = ByteView(s_packed).first(block.blockSize);
        uLongf length = kBlock;
        if (isByZlibAlone)
            require(::uncompress(s_content.data(), &length, packed.data(), uLong(packed.size())) == Z_OK, m_file);
        else
            length = uLongf(s_fast.inflate(packed, s_content).value_or(0));
        require(length > 0 && ::write(output, s_content.data(), length) == ssize_t(length), to);
    }
    require(::fdatasync(output) == 0, to);
    ::close(output);
    ::close(from);
}

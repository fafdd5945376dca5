#pragma once

#include "Platform/Types.h"

/// Compressed files to be measured, made of what lies about on the machine.
namespace CompressedMaterial {

/// That many bytes out of /usr/share and /usr/lib, without the blocks that no compression makes smaller.
Bytes collect(std::size_t size);

/// A compressed file that can be made again as often as it was expanded.
class Subject final
{
public:
    /// Its compressed content is kept in a file named after it with ".kept" behind it. Ends the program where it cannot
    /// be made.
    Subject(Path file, ByteView content);

    const Path &file() const { return m_file; }

    /// Whether the file stands there with as many bytes as it had.
    bool isWhole() const;

    /// Makes the file compressed again, whatever stands there, and takes away what was made beside it.
    void restore() const;

    /// Inflates the blocks into a new file, and syncs it: what every expansion has to do, and nothing else.
    void inflateBarely(bool isByZlibAlone) const;

private:
    Path kept() const { return m_file.native() + ".kept"; }

    Path m_file;
    ByteCount m_size = 0;
};

} // namespace CompressedMaterial

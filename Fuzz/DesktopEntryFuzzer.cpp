// Whatever is read as a desktop entry comes back the same from what is written, and any program survives "Exec".

#include "Platform/Formats/DesktopEntry.h"

#include <cstdlib>

static void require(bool holds)
{
    if (!holds)
        std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const ByteView bytes(data, size);
    if (const std::optional<DesktopEntry> entry = DesktopEntry::parse(bytes)) {
        DesktopEntry::programOf(entry->value("Exec").value_or(""));
    }
    const std::string program = stringOf(bytes);
    if (program.empty() || program.find('\0') != std::string::npos)
        return 0;
    DesktopEntry written;
    written.add("Exec", DesktopEntry::commandFor(program));
    written.add("X-Path", program);
    const std::optional<DesktopEntry> again = DesktopEntry::parse(bytesOf(written.text()));
    require(again.has_value());
    require(again->value("X-Path") == program);
    require(DesktopEntry::programOf(*again->value("Exec")) == program);
    return 0;
}

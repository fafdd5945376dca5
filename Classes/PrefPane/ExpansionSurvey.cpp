#include "Classes/PrefPane/ExpansionSurvey.h"

#include "Classes/PrefPane/PXPathUncompressor.h"
#include "Classes/PrefPane/traverse_using_objc_filter.h"
#include "Classes/Shared/Log.h"
#include "Platform/Volumes.h"

#include <algorithm>

static constexpr ByteCount kBlock = 4096; // of the volume; files take whole ones

void ExpansionSurvey::add(const Path &path)
{
    const auto filter = [this](const WalkEntry &entry) -> std::uint32_t { return visit(entry) ? 0 : kDoNotDescend; };
    traverse_using_objc_filter(path, nullptr, filter, m_stop);
}

bool ExpansionSurvey::visit(const WalkEntry &entry)
{
    if (m_stop.stop_requested())
        return false;
    ++m_entries;
    if (m_progressed)
        m_progressed(m_entries);
    if (entry.status.type == FileType::Directory || PXPathUncompressor::reasonToLeaveAlone(entry.path, entry.status))
        return true;
    const FileSystem &files = FileSystem::current();
    const ByteCount size = files.logicalSize(entry.path).valueOr(0);
    const ByteCount occupied = files.occupiedSize(entry.path).valueOr(0);
    const ByteCount rounded = (size / kBlock + (size % kBlock != 0)) * kBlock;
    ++m_files;
    m_bytes += size;
    Volume &volume = m_volumes[entry.status.identity.device];
    if (volume.sample.empty())
        volume.sample = entry.path;
    volume.needed = std::max(volume.needed, ByteCount(std::max<std::int64_t>(volume.grown + std::int64_t(rounded), 0)));
    volume.grown += std::int64_t(rounded) - std::int64_t(occupied);
    return true;
}

std::vector<SpaceShortage> ExpansionSurvey::shortages() const
{
    std::vector<SpaceShortage> shortages;
    for (const auto &[device, volume] : m_volumes) {
        const Result<ByteCount> available = Volumes::current().availableSpace(volume.sample);
        if (!available) {
            logLine("Free space cannot be told: " + available.failure().context);
            continue;
        }
        if (*available < volume.needed)
            shortages.push_back(
                {Volumes::current().mountPoint(volume.sample).valueOr(volume.sample), volume.needed, *available});
    }
    return shortages;
}

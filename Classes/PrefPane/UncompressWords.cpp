#include "Classes/PrefPane/UncompressWords.h"

#include "Classes/PrefPane/ExpansionRun.h"
#include "Classes/Util/PXUtil.h"

#include <QCoreApplication>
#include <QFile>
#include <QLocale>

using Outcome = ExpansionOutcome::Result;
using LeftAlone = PXPathUncompressorObserver::LeftAlone;

static QString tr(const char *text)
{
    return QCoreApplication::translate("UncompressWords", text);
}

static QString size(ByteCount bytes)
{
    return QString::fromStdString(PXUtil::getPrettySize(bytes));
}

static QString number(std::uint64_t count)
{
    return QLocale().toString(qulonglong(count));
}

static std::string withoutControls(const std::string &text)
{
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string clean;
    for (const char character : text) {
        const auto code = static_cast<unsigned char>(character);
        if (character == '\n')
            clean += "\\n";
        else if (code < 0x20 || code == 0x7f)
            clean += {'\\', 'x', kDigits[code >> 4], kDigits[code & 15]};
        else
            clean += character;
    }
    return clean;
}

UncompressWords::Kind UncompressWords::kindOf(const ExpansionReason &reason)
{
    const Outcome *const result = std::get_if<Outcome>(&reason);
    if (!result)
        return Kind::LeftAlone;
    switch (*result) {
    case Outcome::Expanded:
        return Kind::Expanded;
    case Outcome::NotCompressed:
    case Outcome::HasContent:
    case Outcome::ForkShared:
    case Outcome::BeingWritten:
    case Outcome::Cancelled:
        return Kind::LeftAlone;
    default:
        return Kind::Failed;
    }
}

static QString headingOf(LeftAlone reason)
{
    switch (reason) {
    case LeftAlone::NotRegular:
        return tr("Left alone: not a regular file");
    case LeftAlone::Unreadable:
        return tr("Left alone: cannot be looked at");
    case LeftAlone::Damaged:
        return tr("Left alone: the compressed content is missing or damaged");
    case LeftAlone::TooSmall:
        return tr("Left alone: smaller than 4096 bytes");
    case LeftAlone::FlagCleared:
        return tr("Left alone: no longer known as compressed; \"tamselctl repair\" mends that");
    case LeftAlone::NotCompressed:
        return tr("Left alone: not compressed");
    case LeftAlone::AnothersFile:
        return tr("Left alone: another user's");
    case LeftAlone::NotWritable:
        return tr("Left alone: not writable");
    case LeftAlone::AnothersGroup:
        return tr("Left alone: of a group that is not among yours");
    }
    return {};
}

static QString headingOf(Outcome result)
{
    switch (result) {
    case Outcome::Expanded:
        return tr("Uncompressed");
    case Outcome::NotCompressed:
        return tr("Left alone: not compressed any more");
    case Outcome::HasContent:
        return tr("Left alone: has content of its own");
    case Outcome::ForkShared:
        return tr("Left alone: its other names need the compressed content");
    case Outcome::BeingWritten:
        return tr("Left alone: open in another program");
    case Outcome::Cancelled:
        return tr("Left alone: cancelled");
    case Outcome::NotReplaceable:
        return tr("Failed: not a regular file any more");
    case Outcome::Unreadable:
        return tr("Failed: cannot be looked at");
    case Outcome::FlagNotCleared:
        return tr("Failed: its flag cannot be changed");
    case Outcome::NoFork:
        return tr("Failed: the compressed content is missing");
    case Outcome::OutputRefused:
        return tr("Failed: no new file can be made beside it");
    case Outcome::ForkDamaged:
        return tr("Failed: damaged table of blocks");
    case Outcome::BlockUnreadable:
        return tr("Failed: unreadable block");
    case Outcome::BlockDamaged:
        return tr("Failed: damaged block");
    case Outcome::NotWritten:
        return tr("Failed: the new file cannot be written");
    case Outcome::NoSpace:
        return tr("Failed: no space");
    case Outcome::AttributesNotCopied:
        return tr("Failed: its attributes cannot be kept");
    case Outcome::AccessNotKept:
        return tr("Failed: its owner, mode or access lists cannot be kept");
    case Outcome::SizeDiffers:
        return tr("Failed: its blocks hold another size than it states");
    case Outcome::Changed:
        return tr("Failed: changed meanwhile");
    }
    return {};
}

QString UncompressWords::heading(const ExpansionReason &reason)
{
    return std::visit([](auto one) { return headingOf(one); }, reason);
}

QString UncompressWords::remark(const ExpansionEntry &entry)
{
    QStringList parts;
    if (kindOf(entry.reason) == Kind::Expanded)
        parts.append(size(entry.before) + QStringLiteral(" → ") + size(entry.after));
    if (entry.isFlagLeftCleared)
        parts.append(tr("no longer known as compressed; \"tamselctl repair\" mends that"));
    if (!entry.detail.empty())
        parts.append(kindOf(entry.reason) == Kind::Expanded
                         ? tr("compressed content kept: %1").arg(oneLine(entry.detail))
                         : oneLine(entry.detail));
    return parts.join(QStringLiteral("; "));
}

QString UncompressWords::oneLine(const std::string &text)
{
    return QFile::decodeName(withoutControls(text).c_str());
}

std::string UncompressWords::line(const ExpansionEntry &entry)
{
    return heading(entry.reason).toStdString() + '\t' + remark(entry).toStdString() + '\t' +
           withoutControls(entry.path.native());
}

QString UncompressWords::question(const std::vector<SpaceShortage> &shortages)
{
    QStringList lines;
    for (const SpaceShortage &shortage : shortages)
        lines.append(tr("Uncompressing needs %1 on %2, where %3 are free.")
                         .arg(size(shortage.needed), oneLine(shortage.volume.native()), size(shortage.available)));
    lines.append(tr("Files for which there is no room stay compressed."));
    return lines.join(u'\n');
}

/// The file that was in hand counts as none that was done.
static QString cancelled(const ExpansionProgress &progress)
{
    const auto inHand = progress.counts.find(Outcome::Cancelled);
    const std::uint64_t done = progress.filesDone - (inHand == progress.counts.end() ? 0 : inHand->second);
    return tr("Cancelled after %1 of %2 files.").arg(number(done), number(progress.filesInAll));
}

QString UncompressWords::state(const ExpansionProgress &progress)
{
    using Phase = ExpansionProgress::Phase;
    if (progress.isCancelled && progress.phase != Phase::Ended)
        return tr("Cancelling…");
    switch (progress.phase) {
    case Phase::Measuring:
        return tr("Looking through what was dropped: %1 so far").arg(number(progress.entries));
    case Phase::Asking:
        return tr("There is not enough space");
    case Phase::Expanding:
        break;
    case Phase::Ended:
        return progress.isCancelled ? cancelled(progress) : QString();
    }
    const QString done = tr("%1 of %2 files, %3 of %4")
                             .arg(number(progress.filesDone), number(progress.filesInAll), size(progress.bytesDone),
                                  size(progress.bytesInAll));
    if (progress.current.empty())
        return done;
    return done + QStringLiteral(" — ") + oneLine(progress.current.filename().native());
}

int UncompressWords::permille(const ExpansionProgress &progress)
{
    const bool areBytes = progress.bytesInAll > 0;
    const double done = areBytes ? double(progress.bytesDone) : double(progress.filesDone);
    const double all = areBytes ? double(progress.bytesInAll) : double(progress.filesInAll);
    return all > 0 ? int(1000 * std::min(done / all, 1.0)) : 0;
}

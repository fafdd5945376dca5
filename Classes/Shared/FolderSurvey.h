#pragma once

#include "Platform/FileSystem.h"

#include <functional>
#include <map>
#include <set>
#include <stop_token>

/// The files that a round of surveys has counted: a file with several names, or in a folder within another surveyed
/// folder, counts once. One thread.
class SurveyedFiles final
{
public:
    bool contains(const FileIdentity &file) const { return m_files.contains(file); }
    void add(const FileIdentity &file) { m_files.insert(file); }

private:
    std::set<FileIdentity> m_files;
};

struct SurveyProgress
{
    unsigned percent = 0;  ///< of the entries walked, 0 to 100, never falling
    ByteCount savings = 0; ///< found so far
};

struct SurveyResult
{
    ByteCount savings = 0;             ///< bytes by which the compressed files' logical sizes exceed what they occupy
    std::uint64_t compressedFiles = 0; ///< counted in `savings`
    std::uint64_t damagedFiles = 0;    ///< stored compressed, but without a sound fork; counted nowhere
    bool isComplete = true;            ///< false when a stop was requested
};

/// Finds the files below one folder that are stored compressed and adds up what that saves. Changes nothing. Links are
/// not followed, other volumes not entered. One thread, for as long as it takes: that of the caller.
class FolderSurvey final
{
public:
    using Progressed = std::function<void(const SurveyProgress &)>;
    using LeftOut = std::function<bool(const Path &path)>;
    using FoundDamaged = std::function<void(const Path &file, const std::string &reason)>;

    /// `counted` outlives the survey and is shared by those of one round.
    FolderSurvey(Path folder, SurveyedFiles &counted);

    /// Called whenever the percentage has changed, and with 100 at the end of a survey that was not stopped.
    void setProgressed(Progressed progressed) { m_progressed = std::move(progressed); }

    /// Called at the end of a survey that was not stopped, once for each damaged file. Not for one that another of its
    /// names in this round showed to be sound: a fork may lie beside one name only.
    void setFoundDamaged(FoundDamaged foundDamaged) { m_foundDamaged = std::move(foundDamaged); }

    /// What these say is left out is not looked at, and folders all of whose content is are not entered.
    void setLeftOut(LeftOut file, LeftOut allBelow)
    {
        m_leftOut = std::move(file);
        m_allBelowLeftOut = std::move(allBelow);
    }

    /// What cannot be read is passed over. Errors: those of `FileSystem::walk` for the folder itself.
    Result<SurveyResult> run(std::stop_token stop);

private:
    Result<std::uint64_t> countEntries(std::stop_token stop) const;
    bool isEntered(const WalkEntry &entry) const;
    void examine(const Path &path, const FileStatus &status);
    Result<ByteCount> savingsOf(const Path &path) const;
    void nameDamaged();
    void report(unsigned percent);

    Path m_folder;
    SurveyedFiles &m_counted;
    Progressed m_progressed;
    FoundDamaged m_foundDamaged;
    LeftOut m_leftOut;
    LeftOut m_allBelowLeftOut;
    SurveyResult m_result;
    std::map<FileIdentity, std::pair<Path, std::string>> m_damaged;
    unsigned m_percent = 0;
};

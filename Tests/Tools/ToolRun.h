#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

/// How a tool ended.
struct ToolRun
{
    int exitCode = -1; ///< -1 when it crashed or never ended
    std::string errors;

    static ToolRun of(const std::filesystem::path &program, const QStringList &arguments)
    {
        QProcess process;
        process.start(QString::fromStdString(program.native()), arguments);
        process.closeWriteChannel();
        const bool ended = process.waitForFinished(20'000) && process.exitStatus() == QProcess::NormalExit;
        return {ended ? process.exitCode() : -1, process.readAllStandardError().toStdString()};
    }
};

/// A new file with the folders above it.
inline void writeFile(const std::filesystem::path &file, const std::string &content)
{
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
}

inline std::string contentOf(const std::filesystem::path &file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// A pane bundle that says who it is, with `tool` in its resources. Answers where the tool lies.
inline std::filesystem::path makePane(const std::filesystem::path &bundle, const std::string &identifier,
                                      const std::filesystem::path &tool)
{
    writeFile(bundle / "Contents/Info.plist", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                              "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>" +
                                                  identifier + "</string></dict></plist>\n");
    std::filesystem::create_directories(bundle / "Contents/Resources");
    std::filesystem::copy_file(tool, bundle / "Contents/Resources" / tool.filename());
    return bundle / "Contents/Resources" / tool.filename();
}

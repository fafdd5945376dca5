#pragma once

#include <filesystem>
#include <fstream>
#include <string>

/// Makes an application bundle NAME.app in `folder`, whose executable is a script with these lines.
inline std::filesystem::path makeApplicationBundle(const std::filesystem::path &folder, const std::string &name,
                                                   const std::string &identifier, const std::string &script)
{
    namespace fs = std::filesystem;
    const fs::path bundle = folder / (name + ".app");
    fs::create_directories(bundle / "Contents/MacOS");
    std::ofstream(bundle / "Contents/Info.plist")
        << R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict><key>CFBundleIdentifier</key><string>)"
        << identifier << "</string><key>CFBundleExecutable</key><string>" << name << "</string></dict></plist>";
    const fs::path executable = bundle / "Contents/MacOS" / name;
    std::ofstream(executable) << "#!/bin/sh\n" << script << '\n';
    fs::permissions(executable, fs::perms(0755));
    return bundle;
}

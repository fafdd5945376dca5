#pragma once

#include "Platform/PropertyList.h"
#include "Platform/Types.h"

#include <string>
#include <vector>

/// What a test bundle has for a program.
enum class TestPlugin {
    Recording, ///< writes each call of the host to the file that `Recording` names; see RecordingPane.cpp
    Throwing,  ///< throws when the plug-in is made
    Foreign,   ///< exports another interface, and aborts as soon as its code runs
    Text,      ///< no program at all
    None,      ///< the file is missing
};

/// Makes FOLDER/NAME.prefPane with that identifier; `extra` is added to its Info.plist. Answers its path.
Path makeTestPane(const Path &folder, const std::string &name, const std::string &identifier,
                  TestPlugin plugin = TestPlugin::Recording, const PropertyList::Dictionary &extra = {});

/// What the recording panes of this process and its children write down, from now on. One at a time.
class Recording final
{
public:
    Recording();
    ~Recording();
    Recording(const Recording &) = delete;
    Recording &operator=(const Recording &) = delete;

    /// The calls so far, each as "IDENTIFIER CALL".
    std::vector<std::string> calls() const;

private:
    Path m_file;
};

#pragma once

#include "Platform/Service.h"
#include "Platform/Types.h"

#include <QObject>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class QWidget;

/// The desktop's own dialog in which folders are chosen. Main thread.
class FolderChooser : public Service<FolderChooser>
{
public:
    /// Words are UTF-8.
    struct Question
    {
        std::string title;
        std::string button; ///< what the button says that takes the folders
        Path start;         ///< the folder that is shown at first
    };

    /// The URLs of the folders, none when the user has cancelled it; nothing where the desktop has no such dialog.
    using Answer = std::function<void(const std::optional<std::vector<std::string>> &urls)>;

    /// Shows the dialog on `window`; several folders can be chosen in it, and new ones be made. `answer` is called once
    /// and never from within this call. The dialog goes with what this answers; then `answer` is not called any more.
    virtual std::unique_ptr<QObject> choose(const Question &question, QWidget *window, Answer answer) = 0;
};

#pragma once

#include "Tests/Support/VirtualDisplay.h"

#include <filesystem>
#include <vector>

/// Files that the pointer drags out of another program's window, as out of a file manager. One at a time on a display;
/// what is not dropped is let go where it is when this ends.
class FileDrag final
{
public:
    /// Picks the files up in the upper left corner of the screen.
    FileDrag(VirtualDisplay &display, const std::vector<std::filesystem::path> &files);
    ~FileDrag();
    FileDrag(const FileDrag &) = delete;
    FileDrag &operator=(const FileDrag &) = delete;

    /// Moves the pointer to this point of the window with such a title, as a hand would; answers whether there is one.
    bool moveTo(const std::string &title, const QPoint &point);

    /// Lets the files go, and waits until the other program has done with them.
    bool drop() { return letGo() && waitUntilDone(); }

    /// Whether anybody has taken them, once the other program has done with them.
    bool isTaken() const { return m_source.exitCode() == Qt::CopyAction; }

    /// The two apart: whoever takes them may still ask the other program for them after they were let go.
    bool letGo();
    bool waitUntilDone();

private:
    bool movePointer(const QPoint &to);

    VirtualDisplay &m_display;
    QProcess m_source;
    QPoint m_pointer;
    bool m_isHeld = false;
};

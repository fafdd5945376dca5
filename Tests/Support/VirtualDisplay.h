#pragma once

#include <QByteArray>
#include <QPoint>
#include <QProcess>
#include <QStringList>

#include <string>

/// An X display of the test's own with a window manager, without which no window becomes active. It ends with this.
class VirtualDisplay final
{
public:
    VirtualDisplay();
    ~VirtualDisplay();
    VirtualDisplay(const VirtualDisplay &) = delete;
    VirtualDisplay &operator=(const VirtualDisplay &) = delete;

    /// What the variable DISPLAY is to be.
    const std::string &name() const { return m_name; }

    /// Waits until a window with such a title is shown and active; answers whether it is.
    bool activate(const std::string &title);

    /// Clicks with the pointer at this point of the window with such a title; answers whether there is one.
    bool click(const std::string &title, const QPoint &point);

    /// Moves the pointer from one point to another with its button held; answers whether there is such a window.
    bool drag(const std::string &title, const QPoint &from, const QPoint &to);

    /// Presses keys, each named as X names it ("Return", "ctrl+v"), in the window that is active.
    bool press(const QStringList &keys);
    bool type(const std::string &text);

    /// Whether a window with such a title is shown.
    bool isShown(const std::string &title);

    /// The text on the clipboard of the display; empty when there is none.
    std::string clipboardText();

    /// Runs xdotool with these arguments on the display and answers whether it succeeded; `said` gets what it wrote.
    bool run(const QStringList &arguments, QByteArray *said = nullptr);

    /// For a program that is to be shown there.
    const QProcessEnvironment &environment() const { return m_environment; }

private:
    QProcess m_server;
    QProcess m_windowManager;
    QProcessEnvironment m_environment;
    std::string m_name;
};

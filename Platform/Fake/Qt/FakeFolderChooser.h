#pragma once

#include "Platform/FolderChooser.h"

#include <utility>

/// A desktop whose dialog is answered by a test; without a dialog unless the test says otherwise. Main thread.
class FakeFolderChooser final : public FolderChooser
{
public:
    /// What the user will have chosen, once the event loop runs.
    void setAnswer(std::vector<std::string> urls) { m_urls = std::move(urls); }

    const std::vector<Question> &questions() const { return m_questions; }

    std::unique_ptr<QObject> choose(const Question &question, QWidget *, Answer answer) override
    {
        m_questions.push_back(question);
        auto dialog = std::make_unique<QObject>();
        QMetaObject::invokeMethod(
            dialog.get(), [answer = std::move(answer), urls = m_urls] { answer(urls); }, Qt::QueuedConnection);
        return dialog;
    }

private:
    std::optional<std::vector<std::string>> m_urls;
    std::vector<Question> m_questions;
};

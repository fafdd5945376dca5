#include "Platform/Fake/FakeLoginWindow.h"

#include <algorithm>

static bool isNamedIn(const std::vector<LoginItem> &items, const LoginItem &item)
{
    return std::any_of(items.begin(), items.end(), [&](const LoginItem &each) { return each.source == item.source; });
}

void FakeLoginWindow::addOther(const std::string &source, const Path &program)
{
    if (!m_items)
        m_items.emplace();
    const auto ours =
        std::find_if(m_items->begin(), m_items->end(), [](const auto &each) { return !each.aliasData.empty(); });
    m_items->insert(ours, LoginItem{program, {}, false, source});
}

Result<std::optional<std::vector<LoginItem>>> FakeLoginWindow::copyItems() const
{
    if (const std::optional<Failure> failure = m_schedule.next())
        return *failure;
    m_copied = m_items.value_or(std::vector<LoginItem>());
    return m_items;
}

Result<void> FakeLoginWindow::storeItems(const std::vector<LoginItem> &items)
{
    if (const std::optional<Failure> failure = m_schedule.next())
        return *failure;
    ++m_stores;
    if (!m_items)
        return {};
    std::erase_if(*m_items,
                  [&](const LoginItem &each) { return isNamedIn(m_copied, each) && !isNamedIn(items, each); });
    for (LoginItem item : items) {
        if (!item.source.empty())
            continue;
        item.source = "ours-" + std::to_string(++m_lastSource);
        m_items->push_back(std::move(item));
    }
    return {};
}

Result<void> FakeLoginWindow::makeList()
{
    if (const std::optional<Failure> failure = m_schedule.next())
        return *failure;
    if (!m_items)
        m_items.emplace();
    return {};
}

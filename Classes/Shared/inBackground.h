#pragma once

#include <future>
#include <utility>

/// Does `work` on a thread of its own and waits for what it answers: for programs without a window, since files that
/// have moved are never searched for on the main thread.
template <class Work>
auto inBackground(Work work)
{
    return std::async(std::launch::async, std::move(work)).get();
}

#pragma once

#include "platform/documents/DocumentService.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <future>
#include <utility>
#include <vector>

namespace korvane {

/**
 * Asks `count` times, with at most `most` questions open at a time, and gives the answers to `use`
 * in the order of the questions. The first that fails ends it; those open then are waited for.
 */
template <typename T>
DocumentAnswer<void>
gather(std::size_t count, std::size_t most,
       const std::function<std::future<DocumentAnswer<std::vector<T>>>(std::size_t)>& ask,
       const std::function<void(T)>& use)
{
    std::deque<std::future<DocumentAnswer<std::vector<T>>>> open;
    std::size_t asked = 0;
    while (asked < count || !open.empty()) {
        while (asked < count && open.size() < most) open.push_back(ask(asked++));
        auto answer = open.front().get();
        open.pop_front();
        if (!answer) {
            for (auto& rest : open) rest.wait();
            return failure(std::move(answer.error()));
        }
        for (T& part : *answer) use(std::move(part));
    }
    return {};
}

} // namespace korvane

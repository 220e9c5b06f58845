#pragma once

#include "platform/documents/DocumentService.h"

#include <algorithm>
#include <cstddef>
#include <deque>
#include <functional>
#include <future>
#include <iterator>
#include <utility>
#include <vector>

namespace korvane {

/**
 * Asks `count` times, with at most `most` questions open at a time, and joins the answers in the
 * order of the questions, each element as `take` leaves it. The first that fails is the answer;
 * those open then are waited for.
 */
template <typename T>
DocumentAnswer<std::vector<T>>
gather(std::size_t count, std::size_t most,
       const std::function<std::future<DocumentAnswer<std::vector<T>>>(std::size_t)>& ask,
       const std::function<void(T&)>& take = [](T&) {})
{
    std::deque<std::future<DocumentAnswer<std::vector<T>>>> open;
    std::vector<T> joined;
    std::size_t asked = 0;
    while (asked < count || !open.empty()) {
        while (asked < count && open.size() < most) open.push_back(ask(asked++));
        auto answer = open.front().get();
        open.pop_front();
        if (!answer) {
            for (auto& rest : open) rest.wait();
            return failure(std::move(answer.error()));
        }
        std::ranges::for_each(*answer, take);
        joined.insert(joined.end(), std::make_move_iterator(answer->begin()),
                      std::make_move_iterator(answer->end()));
    }
    return joined;
}

} // namespace korvane

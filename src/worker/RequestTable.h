#pragma once

#include "recognition/RequestCoding.h"
#include "workerpool/WireReader.h"
#include "workerpool/WireWriter.h"
#include "workerpool/WorkerMessage.h"

#include <chrono>
#include <concepts>
#include <cstdint>
#include <functional>
#include <map>
#include <utility>

namespace korvane {

/** Reads a request, checks that it is `finished`, and writes its answer; `false` refuses an invalid
 *  request. What it may take is counted from its beginning. */
using RequestHandler =
    std::function<bool(WireReader& request, WireWriter& answer, std::chrono::milliseconds limit)>;

/** What a worker does with requests, by their code. */
class RequestTable {
public:
    /** `handler` serves a request of DocumentRequests.h: it is given that and, if it wants, its
     *  limit, and returns a DocumentAnswer of the request's Answer. */
    template <typename Request, typename Handler>
    void on(Handler handler)
    {
        using Answer = DocumentAnswer<typename Request::Answer>;
        add(requests::codeOf<Request>(),
            [handler = std::move(handler)](WireReader& in, WireWriter& out,
                                           std::chrono::milliseconds limit) {
                std::optional<Request> request = decodeRequest<Request>(in);
                if (!request) return false;
                const auto answer = [&]() -> Answer {
                    if constexpr (std::invocable<const Handler&, const Request&,
                                                 std::chrono::milliseconds>)
                        return handler(*request, limit);
                    else
                        return handler(*request);
                };
                encodeAnswer(out, answer());
                return true;
            });
    }

    void add(std::uint16_t code, RequestHandler handler);

    /** Serves `request`. Exceptions other than std::bad_alloc become a refusal. */
    WorkerMessage answer(WorkerMessage request) const;

private:
    WorkerMessage serve(WorkerMessage request) const;

    std::map<std::uint16_t, RequestHandler> handlers_;
};

} // namespace korvane

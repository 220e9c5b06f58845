#include "worker/RequestTable.h"

#include "workerpool/Frame.h"

#include <exception>
#include <new>
#include <utility>

namespace korvane {

namespace {

constexpr std::uint16_t refused = 1;
constexpr std::uint16_t failed = 2;
constexpr std::uint16_t answerTooLarge = 3;

WorkerMessage run(const RequestHandler& handler, WorkerMessage request)
{
    const std::chrono::milliseconds limit = request.limit;
    WireReader reader(std::move(request));
    WireWriter writer;
    if (!handler(reader, writer, limit)) return {.code = refused};
    WorkerMessage answer = writer.message();
    if (!isWithinBounds(answer) || !answer.descriptors.empty()) return {.code = answerTooLarge};
    return answer;
}

} // namespace

void RequestTable::add(std::uint16_t code, RequestHandler handler)
{
    handlers_[code] = std::move(handler);
}

WorkerMessage RequestTable::answer(WorkerMessage request) const
{
    const std::uint32_t number = request.number;
    WorkerMessage answer = serve(std::move(request));
    answer.number = number;
    return answer;
}

WorkerMessage RequestTable::serve(WorkerMessage request) const
{
    const auto entry = handlers_.find(request.code);
    if (entry == handlers_.end()) return {.code = refused};
    try {
        return run(entry->second, std::move(request));
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        return {.code = failed};
    }
}

} // namespace korvane

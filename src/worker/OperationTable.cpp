#include "worker/OperationTable.h"

#include "platform/wire/Frame.h"

#include <exception>
#include <new>
#include <utility>

namespace korvane {

namespace {

constexpr std::uint16_t refused = 1;
constexpr std::uint16_t failed = 2;
constexpr std::uint16_t answerTooLarge = 3;

WorkerMessage run(const Operation& operation, WorkerMessage request)
{
    WireReader reader(std::move(request));
    WireWriter writer;
    if (!operation(reader, writer)) return {.code = refused};
    WorkerMessage answer = writer.message();
    if (!isWithinBounds(answer) || !answer.descriptors.empty()) return {.code = answerTooLarge};
    return answer;
}

} // namespace

void OperationTable::add(std::uint16_t code, Operation operation)
{
    operations_[code] = std::move(operation);
}

WorkerMessage OperationTable::answer(WorkerMessage request) const
{
    const std::uint32_t number = request.number;
    WorkerMessage answer = carryOut(std::move(request));
    answer.number = number;
    return answer;
}

WorkerMessage OperationTable::carryOut(WorkerMessage request) const
{
    const auto entry = operations_.find(request.code);
    if (entry == operations_.end()) return {.code = refused};
    try {
        return run(entry->second, std::move(request));
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        return {.code = failed};
    }
}

} // namespace korvane

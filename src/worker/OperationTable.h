#pragma once

#include "platform/base/Result.h"
#include "platform/wire/WireReader.h"
#include "platform/wire/WireWriter.h"

#include <cstdint>
#include <functional>
#include <map>

namespace korvane {

/** Reads its request, checks that it is `finished`, and writes its answer. What it cannot do it
 *  answers in the payload, in its own terms; `false` refuses a request that makes no sense. */
using Operation = std::function<bool(WireReader& request, WireWriter& answer)>;

/** What this worker can do, by the code of the request. */
class OperationTable {
public:
    void add(std::uint16_t code, Operation operation);

    /** Answers `request`. Exceptions other than std::bad_alloc become a refusal. */
    WorkerMessage answer(WorkerMessage request) const;

private:
    WorkerMessage carryOut(WorkerMessage request) const;

    std::map<std::uint16_t, Operation> operations_;
};

} // namespace korvane

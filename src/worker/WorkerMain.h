#pragma once

#include "worker/OperationTable.h"

namespace korvane {

/** The life of a worker process: gives up what it does not need, locks itself in, and answers the
 *  requests on descriptor 3 until the agent closes it. Returns the exit status. */
int serveWorker(const OperationTable& operations);

} // namespace korvane

#pragma once

#include "worker/RequestTable.h"

namespace korvane {

/** Runs a worker process: enters the sandbox, and answers the requests on descriptor 3 until the
 *  agent closes it. Returns the exit status. */
int serveWorker(const RequestTable& table);

} // namespace korvane

#include "worker/WorkerMain.h"

int main()
{
    using namespace korvane;

    const OperationTable operations;
    return serveWorker(operations);
}

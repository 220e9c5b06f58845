#include "worker/DocumentWork.h"
#include "worker/WorkerMain.h"

int main()
{
    using namespace korvane;

    DocumentWork work;
    OperationTable operations;
    work.addTo(operations);
    return serveWorker(operations);
}

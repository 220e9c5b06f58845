#include "worker/DocumentWork.h"
#include "worker/RasterWork.h"
#include "worker/WorkerMain.h"

int main()
{
    using namespace korvane;

    DocumentWork work;
    RequestTable table;
    work.serve(table);
    serveRasters(table);
    return serveWorker(table);
}

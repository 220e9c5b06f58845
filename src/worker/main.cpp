#include "worker/DocumentWork.h"
#include "worker/WorkerMain.h"

int main()
{
    using namespace korvane;

    DocumentWork work;
    RequestTable table;
    work.serve(table);
    return serveWorker(table);
}

#include "worker/DecompressionWork.h"
#include "worker/DocumentWork.h"
#include "worker/PageWork.h"
#include "worker/PictureWork.h"
#include "worker/RasterWork.h"
#include "worker/WorkerMain.h"

int main()
{
    using namespace korvane;

    DocumentWork work;
    RequestTable table;
    work.serve(table);
    serveRasters(table);
    servePictures(table);
    serveDecompression(table);
    servePages(table);
    return serveWorker(table);
}

#include "recognition/OCR.h"

#include "recognition/RecognitionContext.h"
#include "recognition/RecognitionRun.h"

#include <utility>

namespace korvane {

OCR::OCR(Queues& queues, DocumentService& documents, std::vector<std::string> userLanguages,
         Log& log)
    : context_(std::make_shared<RecognitionContext>(
          RecognitionContext{.queue = queues.makeSerial("ocr"),
                             .documents = documents,
                             .log = log,
                             .languages = LanguageMemory(std::move(userLanguages))}))
{
}

void OCR::recognizePages(std::shared_ptr<OpenDocument> document, double dpi, PageDone pageDone,
                         Completion completion)
{
    const auto run = std::make_shared<RecognitionRun>(context_, std::move(document), dpi,
                                                      std::move(pageDone), std::move(completion));
    context_->queue->async([run] { run->start(); });
}

} // namespace korvane

#pragma once

#include "base/Result.h"
#include "lib/tesseract/FoundText.h"
#include "lib/tesseract/LoadedPage.h"
#include "page/Recognition.h"

#include <tesseract/publictypes.h>

#include <chrono>
#include <string>
#include <vector>

namespace korvane {

/** Reads one page in one language, until a deadline. */
class PageReader {
public:
    /** The page and the engines outlive the reader; the page is straight. The deadline is in
     *  processor time of this process. */
    PageReader(LoadedPage& page, EngineCache& engines, std::string language,
               std::chrono::milliseconds deadline);

    Result<PageReading, std::string> read();

private:
    using Lines = Result<std::vector<FoundLine>, std::string>;

    bool isOver();
    OwnedPix reduced(const OwnedPix& bitmap) const;
    Lines recognize(const OwnedPix& bitmap, tesseract::PageSegMode mode);
    void takeLines(const std::vector<FoundLine>& lines, const PageGeometry& geometry);
    void readSidewaysLines(std::vector<FoundLine>& upright);

    LoadedPage& page_;
    EngineCache& engines_;
    const std::string language_;
    const std::chrono::milliseconds deadline_;
    /** What the engine gets is so much smaller than the page. */
    double reduction_ = 1;
    PageReading reading_;
};

} // namespace korvane

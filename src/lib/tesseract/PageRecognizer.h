#pragma once

#include "base/Result.h"
#include "page/BitmapSize.h"
#include "page/Recognition.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace korvane {

class EngineCache;
struct LoadedPage;

/**
 * Recognizes the text of pages with Tesseract's neural network, on the calling thread: one page
 * after the other, each in as many languages as are asked for. Pages may lie on their side or
 * upside down, be tilted by up to 12 degrees, be photographed at an angle and in uneven light, and
 * have lines along their margins.
 */
class PageRecognizer {
public:
    PageRecognizer();
    ~PageRecognizer();
    PageRecognizer(const PageRecognizer&) = delete;
    PageRecognizer& operator=(const PageRecognizer&) = delete;

    /** The installed languages, without those that only find orientation or formulas. */
    std::vector<std::string> languages();

    /** Loads a page in shades of gray, one byte a pixel; `row` gives a row of it, counted from the
     *  top. False when there is no memory for it. */
    bool load(const BitmapSize& size,
              const std::function<std::span<const std::uint8_t>(int row)>& row);

    /**
     * Recognizes the page that was loaded. All but `script` and `likelyLanguages` is known for
     * every page; the script is found out where hardly anything was recognized. When the limit of
     * processor time is reached, what was recognized until then is the reading. The error is a text
     * for the log. Throws std::bad_alloc.
     */
    Result<PageReading, std::string> recognize(const std::string& language,
                                               std::chrono::milliseconds limit);

    /** Drops the page. */
    void clear();

private:
    std::unique_ptr<EngineCache> engines_;
    std::unique_ptr<LoadedPage> page_;
};

} // namespace korvane

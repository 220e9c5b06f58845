#include "lib/tesseract/PageRecognizer.h"

#include "base/ProcessorTime.h"
#include "lib/tesseract/EngineCache.h"
#include "lib/tesseract/LoadedPage.h"
#include "lib/tesseract/PageReader.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <utility>

namespace korvane {

namespace {

/** Null when there is no memory. */
OwnedPix makeBitmap(const BitmapSize& size,
                    const std::function<std::span<const std::uint8_t>(int row)>& row)
{
    OwnedPix bitmap(pixCreateNoInit(size.width, size.height, 8));
    if (!bitmap) return nullptr;
    auto* target = reinterpret_cast<std::uint8_t*>(pixGetData(bitmap.get()));
    // Rows are padded to whole words.
    const std::size_t stride = static_cast<std::size_t>(pixGetWpl(bitmap.get())) * sizeof(l_uint32);
    for (int y = 0; y < size.height; ++y, target += stride) std::ranges::copy(row(y), target);
    // The words hold the first pixel in their most significant byte.
    pixEndianByteSwap(bitmap.get());
    return bitmap;
}

} // namespace

PageRecognizer::PageRecognizer() : engines_(std::make_unique<EngineCache>())
{
    setMsgSeverity(L_SEVERITY_NONE);
}

PageRecognizer::~PageRecognizer() = default;

std::vector<std::string> PageRecognizer::languages()
{
    return engines_->languages();
}

bool PageRecognizer::load(const BitmapSize& size,
                          const std::function<std::span<const std::uint8_t>(int row)>& row)
{
    clear();
    auto page = std::make_unique<LoadedPage>();
    page->size = size;
    const OwnedPix rendered = makeBitmap(size, row);
    if (!rendered) return false;
    page->cleaned = cleanPage(rendered);
    if (!page->cleaned) return false;
    page_ = std::move(page);
    return true;
}

void PageRecognizer::clear()
{
    page_.reset();
}

Result<PageReading, std::string> PageRecognizer::recognize(const std::string& language,
                                                           std::chrono::milliseconds limit)
{
    const auto deadline = processorTime() + limit;
    if (!page_) return failure(std::string("no bitmap to recognize"));
    if (page_->cleaned.isBlank()) return PageReading{.bitmap = page_->size};
    if (!page_->straight && !page_->straighten(*engines_)) throw std::bad_alloc();
    return PageReader(*page_, *engines_, language, deadline).read();
}

} // namespace korvane

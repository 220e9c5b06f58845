#pragma once

#include "platform/base/Data.h"
#include "platform/base/Result.h"
#include "platform/documents/DocumentError.h"

#include <cstddef>

namespace korvane {

/**
 * A page that was rendered. The handle is small whatever the page's size; the pixels are brought
 * only to those who ask.
 */
class PageImage {
public:
    virtual ~PageImage() = default;

    virtual std::size_t width() const = 0;
    virtual std::size_t height() const = 0;

    /** Red, green, blue and an unused byte a pixel, row by row from the top. */
    virtual Result<Data, DocumentError> pixels() const = 0;
};

} // namespace korvane

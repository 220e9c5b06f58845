#pragma once

#include "document/PageImage.h"
#include "platform/documents/DocumentService.h"

#include <memory>

namespace korvane {

/** The image of a page; its pixels are rendered when somebody asks for them. */
class RenderedPage final : public PageImage {
public:
    RenderedPage(std::shared_ptr<OpenDocument> document, std::size_t page, double resolution,
                 std::size_t width, std::size_t height)
        : document_(std::move(document)), page_(page), resolution_(resolution), width_(width),
          height_(height)
    {
    }

    std::size_t width() const override { return width_; }
    std::size_t height() const override { return height_; }
    Result<Data, DocumentError> pixels() const override
    {
        return document_->render(page_, resolution_);
    }

private:
    std::shared_ptr<OpenDocument> document_;
    std::size_t page_;
    double resolution_;
    std::size_t width_;
    std::size_t height_;
};

} // namespace korvane

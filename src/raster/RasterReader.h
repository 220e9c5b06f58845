#pragma once

#include "base/Result.h"
#include "raster/RasterError.h"
#include "raster/RasterLayout.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>

namespace korvane {

/** Reads the pieces of a raster document one after the other. */
class RasterReader {
public:
    template <typename T>
    using Result = korvane::Result<T, RasterError>;

    struct Page {
        RasterPage raster;
        LineDecoder decodeLine = nullptr;
    };

    /** The document and the layout outlive the reader. */
    RasterReader(const RasterLayout& layout, std::span<const std::uint8_t> document)
        : layout_(layout), rest_(document)
    {
    }

    /** The file header's page count, 0 in layouts that have none. */
    Result<std::uint32_t> readFileHeader();

    /** The page that the next header asks for, or why there can be none; errors name `index`. */
    Result<Page> readPageHeader(std::uint32_t index);

    /** Decodes one line into all of `line`; gives how many consecutive rows it stands for. */
    Result<std::size_t> readLine(std::span<std::uint8_t> line, LineDecoder decode);

    bool atEnd() const { return rest_.empty(); }

private:
    using Header = std::span<const std::uint8_t>;

    /** The next `count` bytes; empty when fewer are left. */
    Header take(std::size_t count);
    static std::uint32_t value(Header header, RasterLayout::Number place);

    auto truncated() const
    {
        return failure(RasterError{RasterError::Truncated{}, layout_.documentKind});
    }
    auto unsupported(std::string detail) const
    {
        return failure(
            RasterError{RasterError::Unsupported{std::move(detail)}, layout_.documentKind});
    }

    const RasterLayout& layout_;
    std::span<const std::uint8_t> rest_;
};

} // namespace korvane

#pragma once

#include "base/DocumentFile.h"
#include "base/FileDescriptor.h"
#include "ipp/PaperSize.h"
#include "page/DocumentInformation.h"
#include "page/PDFWriteError.h"
#include "page/PageInfo.h"
#include "page/PageRange.h"
#include "page/PageTextLayer.h"
#include "page/Recognition.h"
#include "recognition/DocumentFields.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

/**
 * The requests on documents that the agent sends to its workers: each with its fields and with what
 * answers it unless an error does. `call` (WorkerCall.h) sends one, RequestTable::on serves it.
 */
namespace korvane::requests {

/** The document that a request is about. A worker keeps the one of its latest requests open. */
struct SourceDocument {
    /** No other document of this agent has it. */
    std::uint64_t number = 0;
    DocumentFile content;
};

void fields(auto& coder, FieldsOf<SourceDocument> auto& document)
{
    coder.number(document.number, 0, UINT64_MAX);
    coder.document(document.content);
}

struct Nothing {};

void fields(auto& /*coder*/, FieldsOf<Nothing> auto& /*nothing*/) {}

/** The languages whose data is installed, as Tesseract names them, in ascending order. */
struct ListLanguages {
    struct Answer {
        std::vector<std::string> languages;
    };
};

void fields(auto& /*coder*/, FieldsOf<ListLanguages> auto& /*request*/) {}

void fields(auto& coder, FieldsOf<ListLanguages::Answer> auto& answer)
{
    coder.list(answer.languages, bounds::names,
               [&](auto& language) { coder.text(language, bounds::name); });
}

struct OpenDocument {
    SourceDocument document;

    struct Answer {
        std::uint64_t pageCount = 0;
    };
};

void fields(auto& coder, FieldsOf<OpenDocument> auto& request)
{
    fields(coder, request.document);
}

void fields(auto& coder, FieldsOf<OpenDocument::Answer> auto& answer)
{
    coder.number(answer.pageCount, 0, INT32_MAX);
}

struct ReadPages {
    static constexpr std::uint64_t maxCount = 1000;

    SourceDocument document;
    std::uint64_t first = 0;
    std::uint64_t count = 0;

    struct Answer {
        /** As many as were asked for. */
        std::vector<PageInfo> pages;
    };
};

void fields(auto& coder, FieldsOf<ReadPages> auto& request)
{
    fields(coder, request.document);
    coder.number(request.first, 0, INT32_MAX);
    coder.number(request.count, 0, ReadPages::maxCount);
}

void fields(auto& coder, FieldsOf<ReadPages::Answer> auto& answer)
{
    coder.list(answer.pages, ReadPages::maxCount);
}

/** A worker answers with what it has when most of the request's limit is over. */
struct RecognizePage {
    SourceDocument document;
    std::uint64_t page = 0;
    /** Pixels per inch. */
    double resolution = 0;
    std::string language;

    using Answer = PageReading;
};

void fields(auto& coder, FieldsOf<RecognizePage> auto& request)
{
    fields(coder, request.document);
    coder.number(request.page, 0, INT32_MAX);
    coder.number(request.resolution, 0, 1e6);
    coder.text(request.language, bounds::name);
}

struct WriteDocument {
    SourceDocument document;
    std::vector<PageTextLayer> layers;
    DocumentInformation information;
    /** Written to from where it stands. */
    SharedDescriptor output;

    struct Answer {
        /** Why it was not written, if so. */
        std::optional<PDFWriteError> error;
    };
};

void fields(auto& coder, FieldsOf<WriteDocument> auto& request)
{
    fields(coder, request.document);
    coder.list(request.layers, INT32_MAX);
    coder.entries(request.information, 1000, std::size_t{1} << 20);
    coder.descriptor(request.output);
}

void fields(auto& coder, FieldsOf<WriteDocument::Answer> auto& answer)
{
    coder.optional(answer.error);
}

/** A document was written. */
struct WrittenDocument {
    std::uint64_t length = 0;
};

void fields(auto& coder, FieldsOf<WrittenDocument> auto& answer)
{
    coder.number(answer.length, 0, INT64_MAX);
}

/** Makes PDF of a raster document. */
struct ConvertRaster {
    DocumentFile raster;
    /** Written to from where it stands. */
    SharedDescriptor output;

    using Answer = WrittenDocument;
};

void fields(auto& coder, FieldsOf<ConvertRaster> auto& request)
{
    coder.document(request.raster);
    coder.descriptor(request.output);
}

/** Makes PDF of a JPEG file. */
struct ConvertPicture {
    DocumentFile picture;
    PaperSize paper;
    /** Written to from where it stands. */
    SharedDescriptor output;

    using Answer = WrittenDocument;
};

void fields(auto& coder, FieldsOf<ConvertPicture> auto& request)
{
    coder.document(request.picture);
    fields(coder, request.paper);
    coder.descriptor(request.output);
}

/** Decompresses a document. */
struct Decompress {
    DocumentFile compressed;
    /** Bytes that may be written; where that is too few, the answer is ENOSPC. */
    std::uint64_t room = 0;
    /** Written to from where it stands. */
    SharedDescriptor output;

    using Answer = WrittenDocument;
};

void fields(auto& coder, FieldsOf<Decompress> auto& request)
{
    coder.document(request.compressed);
    coder.number(request.room, 0, INT64_MAX);
    coder.descriptor(request.output);
}

/** Copies some pages of a PDF. */
struct SelectPages {
    static constexpr std::uint64_t maxRanges = 64;

    DocumentFile pdf;
    std::vector<PageRange> pages;
    /** Written to from where it stands. */
    SharedDescriptor output;

    using Answer = WrittenDocument;
};

void fields(auto& coder, FieldsOf<SelectPages> auto& request)
{
    coder.document(request.pdf);
    coder.list(request.pages, SelectPages::maxRanges, [&](auto& range) {
        coder.number(range.first, 1, INT32_MAX);
        coder.number(range.last, 1, INT32_MAX);
    });
    coder.descriptor(request.output);
}

/** The document and the bitmap of the latest requests are not needed any more. */
struct ReleaseDocument {
    using Answer = Nothing;
};

void fields(auto& /*coder*/, FieldsOf<ReleaseDocument> auto& /*request*/) {}

/** All of them. The code of a request is its place here, counted from 1. */
using All = std::tuple<ListLanguages, OpenDocument, ReadPages, RecognizePage, WriteDocument,
                       ReleaseDocument, ConvertRaster, ConvertPicture, Decompress, SelectPages>;

template <typename Request>
consteval std::uint16_t codeOf()
{
    const auto isThis = []<std::size_t... places>(std::index_sequence<places...>)
    {
        return ((std::is_same_v<Request, std::tuple_element_t<places, All>> ? places + 1 : 0) +
                ... + 0);
    };
    return static_cast<std::uint16_t>(isThis(std::make_index_sequence<std::tuple_size_v<All>>()));
}

} // namespace korvane::requests

#pragma once

#include "ipp/PaperSize.h"
#include "page/BitmapSize.h"
#include "page/PDFRect.h"
#include "page/PDFWriteError.h"
#include "page/PageInfo.h"
#include "page/PageTextLayer.h"
#include "page/Recognition.h"
#include "page/TextLine.h"
#include "recognition/DocumentError.h"
#include "workerpool/Fields.h"

#include <cstddef>
#include <cstdint>
#include <string>

/** How the values that requests on documents and their answers are made of go over the wire. */
namespace korvane {

namespace bounds {

/** In points; what a PDF may state, and far from where doubles lose a point. */
inline constexpr double coordinate = 1e9;
/** Of a bitmap. PDFReader renders 100 million; rounding may add a row and a column. */
inline constexpr std::int64_t pixels = 128'000'000;
/** In bytes; no word on paper is as long. */
inline constexpr std::size_t wordText = 16'384;
/** More than a bitmap of that size has room for. */
inline constexpr std::size_t words = 100'000;
inline constexpr std::size_t lines = 100'000;
/** Of one page, and so many bytes of text: a newspaper's has a tenth. */
inline constexpr std::size_t wordsOfPage = 50'000;
inline constexpr std::size_t textOfPage = std::size_t{1} << 20;
/** In bytes: the text of one page that can be copied from it, which is cut there. */
inline constexpr std::size_t pageText = std::size_t{512} << 10;
/** In bytes: the message of a library, which is cut there. */
inline constexpr std::size_t detail = 4096;
/** In bytes: the name of a language or script. */
inline constexpr std::size_t name = 256;
/** Tesseract has data for a hundred languages. */
inline constexpr std::size_t names = 1000;
/** Of errno; Linux has 133 and keeps to less than so many (MAX_ERRNO). */
inline constexpr int systemError = 4095;

} // namespace bounds

void fields(auto& coder, FieldsOf<PDFRect> auto& rect)
{
    coder.number(rect.x, -bounds::coordinate, bounds::coordinate);
    coder.number(rect.y, -bounds::coordinate, bounds::coordinate);
    coder.number(rect.width, -bounds::coordinate, bounds::coordinate);
    coder.number(rect.height, -bounds::coordinate, bounds::coordinate);
}

void fields(auto& coder, FieldsOf<PaperSize> auto& paper)
{
    coder.number(paper.width, 1, INT32_MAX);
    coder.number(paper.height, 1, INT32_MAX);
}

void fields(auto& coder, FieldsOf<PageInfo> auto& page)
{
    fields(coder, page.mediaBox);
    coder.text(page.text, bounds::pageText);
    coder.flag(page.exists);
}

void fields(auto& coder, FieldsOf<BitmapSize> auto& size)
{
    coder.number(size.width, 1, 1 << 24);
    coder.number(size.height, 1, 1 << 24);
    coder.number(size.resolution, 0, 1e6);
    coder.check(std::int64_t{size.width} * size.height <= bounds::pixels);
}

void fields(auto& coder, FieldsOf<TextWord> auto& word)
{
    coder.text(word.text, bounds::wordText);
    coder.number(word.start, -bounds::coordinate, bounds::coordinate);
    coder.number(word.width, 0, bounds::coordinate);
}

void fields(auto& coder, FieldsOf<TextLine> auto& line)
{
    coder.number(line.x, -bounds::coordinate, bounds::coordinate);
    coder.number(line.y, -bounds::coordinate, bounds::coordinate);
    coder.number(line.angle, -180, 180);
    coder.number(line.ascent, 0, bounds::coordinate);
    coder.number(line.descent, 0, bounds::coordinate);
    coder.list(line.words, bounds::words);
}

void fields(auto& coder, FieldsOf<PageTextLayer> auto& layer)
{
    coder.list(layer.lines, bounds::lines);
}

/** No line and no word is empty, and there are no more than a page has room for. */
inline bool hasTextOfAPage(const PageReading& reading)
{
    std::size_t words = 0;
    std::size_t bytes = 0;
    for (const TextLine& line : reading.lines) {
        if (line.words.empty()) return false;
        words += line.words.size();
        for (const TextWord& word : line.words) {
            if (word.text.empty()) return false;
            bytes += word.text.size();
        }
    }
    return words <= bounds::wordsOfPage && bytes <= bounds::textOfPage;
}

void fields(auto& coder, FieldsOf<PageReading> auto& reading)
{
    fields(coder, reading.bitmap);
    coder.list(reading.lines, bounds::lines);
    coder.check(hasTextOfAPage(reading));
    coder.number(reading.confidence, 0, 100);
    coder.number(reading.words, 0, 1 << 30);
    coder.number(reading.dictionaryWords, 0, 1 << 30);
    coder.check(reading.dictionaryWords <= reading.words);
    coder.text(reading.script, bounds::name);
    coder.list(reading.likelyLanguages, bounds::names,
               [&](auto& language) { coder.text(language, bounds::name); });
    coder.flag(reading.isComplete);
}

/** One that a worker tells, so not that the worker failed. */
void fields(auto& coder, FieldsOf<DocumentError> auto& error)
{
    coder.choice(error.kind, DocumentError::Kind::cannotWrite);
    coder.text(error.detail, bounds::detail);
    coder.number(error.system.code, 0, bounds::systemError);
}

void fields(auto& coder, FieldsOf<PDFWriteError> auto& error)
{
    coder.choice(error.kind, PDFWriteError::Kind::workerFailed);
    coder.text(error.detail, bounds::detail);
}

} // namespace korvane

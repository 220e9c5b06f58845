#include "document/DocumentText.h"

#include "recognition/LanguageNames.h"
#include "text/Joined.h"
#include "text/Text.h"

#include <algorithm>
#include <map>

namespace korvane {

namespace {

std::string commonLanguage(const std::vector<OCRPageResult>& pages)
{
    std::map<std::string, std::size_t> counts;
    for (const OCRPageResult& page : pages)
        if (!page.language.empty()) ++counts[page.language];
    const auto most =
        std::ranges::max_element(counts, {}, &std::pair<const std::string, std::size_t>::second);
    return most == counts.end() ? "" : codeOfLanguage(most->first);
}

} // namespace

DocumentText textOf(const std::vector<OCRPageResult>& pages)
{
    std::string text = text::joined(pages, "\n\n", &OCRPageResult::plainText);
    const std::size_t words = text::wordCount(text);
    return {.plainText = std::move(text),
            .pages = pages.size(),
            .words = words,
            .language = commonLanguage(pages)};
}

} // namespace korvane

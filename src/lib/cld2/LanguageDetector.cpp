#include "lib/cld2/LanguageDetector.h"

#include <cld2/public/compact_lang_det.h>
#include <cld2/public/encodings.h>

#include <algorithm>
#include <array>
#include <cstddef>

namespace korvane {

namespace {

constexpr int minPercent = 20;
/** Far more than a page has; the library counts in ints. */
constexpr std::size_t maxTextSize = std::size_t{1} << 20;

} // namespace

std::vector<std::string> detectLanguages(std::string_view utf8)
{
    if (utf8.size() > maxTextSize) return {};
    constexpr bool isPlainText = true;
    constexpr CLD2::CLDHints noHints{nullptr, nullptr, CLD2::UNKNOWN_ENCODING,
                                     CLD2::UNKNOWN_LANGUAGE};
    std::array<CLD2::Language, 3> languages{};
    std::array<int, 3> percents{};
    std::array<double, 3> scores{};
    int textSize = 0;
    int validSize = 0;
    bool isReliable = false;
    CLD2::ExtDetectLanguageSummaryCheckUTF8(
        utf8.data(), static_cast<int>(utf8.size()), isPlainText, &noHints, 0, languages.data(),
        percents.data(), scores.data(), nullptr, &textSize, &isReliable, &validSize);
    // What is unreliable by itself is none of the three. `isReliable` says besides that they make
    // up nearly all of the text, which they do not where words are misread or languages mixed.
    std::vector<std::string> codes;
    for (std::size_t rank = 0; rank < languages.size(); ++rank) {
        if (languages[rank] != CLD2::UNKNOWN_LANGUAGE && percents[rank] >= minPercent)
            codes.emplace_back(CLD2::LanguageCode(languages[rank]));
    }
    return codes;
}

} // namespace korvane

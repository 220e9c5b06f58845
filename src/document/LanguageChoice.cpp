#include "document/LanguageChoice.h"

#include <algorithm>
#include <array>

namespace korvane {

namespace {

/** Right languages read with a confidence of 95 and know 97 words of 100, wrong ones of the same
 *  script 85 to 94 and 35 to 87; upside down it is below 40. */
constexpr double goodConfidence = 85;
constexpr double goodKnown = 0.9;
constexpr double poorConfidence = 70;
constexpr double clearlyBetter = 0.02;
/** With fewer words than this the dictionary says nothing. */
constexpr int fewWords = 4;

/** The languages that Tesseract has data for and that are not written in Latin letters. */
struct Script {
    std::string_view name;
    std::string_view languages;
};
constexpr std::array scripts{
    Script{"Arabic", " ara fas kur_ara pus snd uig urd "},
    Script{"Armenian", " hye "},
    Script{"Bengali", " asm ben "},
    Script{"Canadian_Aboriginal", " iku "},
    Script{"Cherokee", " chr "},
    Script{"Cyrillic", " bel bul kaz kir mkd mon rus srp tat tgk ukr "},
    Script{"Devanagari", " hin mar nep san "},
    Script{"Ethiopic", " amh tir "},
    Script{"Georgian", " kat kat_old "},
    Script{"Greek", " ell grc "},
    Script{"Gujarati", " guj "},
    Script{"Gurmukhi", " pan "},
    Script{"Han", " chi_sim chi_tra chi_sim_vert chi_tra_vert jpn "},
    Script{"Hangul", " kor kor_vert "},
    Script{"Hebrew", " heb yid "},
    Script{"Japanese", " jpn jpn_vert "},
    Script{"Kannada", " kan "},
    Script{"Khmer", " khm "},
    Script{"Korean", " kor kor_vert "},
    Script{"Lao", " lao "},
    Script{"Malayalam", " mal "},
    Script{"Myanmar", " mya "},
    Script{"Oriya", " ori "},
    Script{"Sinhala", " sin "},
    Script{"Syriac", " syr "},
    Script{"Tamil", " tam "},
    Script{"Telugu", " tel "},
    Script{"Thaana", " div "},
    Script{"Thai", " tha "},
    Script{"Tibetan", " bod dzo "},
};
constexpr std::string_view latin = "Latin";

bool lists(const Script& script, std::string_view language)
{
    return script.languages.find(" " + std::string(language) + " ") != std::string_view::npos;
}

bool isWrittenIn(std::string_view language, std::string_view script)
{
    const auto known = std::find_if(scripts.begin(), scripts.end(),
                                    [&](const Script& each) { return each.name == script; });
    if (known != scripts.end()) return lists(*known, language);
    return scriptOfLanguage(language) == latin;
}

} // namespace

ReadingScore scoreReading(std::span<const RecognizedLine> lines)
{
    ReadingScore score;
    int known = 0;
    double confidence = 0;
    for (const RecognizedLine& line : lines) {
        confidence += line.confidence;
        score.words += line.words;
        known += line.dictionaryWords;
    }
    if (!lines.empty()) score.confidence = confidence / static_cast<double>(lines.size());
    score.known = score.words == 0 ? 1 : static_cast<double>(known) / score.words;
    return score;
}

bool readsWell(const ReadingScore& score)
{
    return score.confidence >= goodConfidence &&
           (score.known >= goodKnown || score.words < fewWords);
}

bool readsPoorly(const ReadingScore& score)
{
    return score.confidence < poorConfidence;
}

bool readsBetter(const ReadingScore& score, const ReadingScore& before)
{
    return score.value() > before.value() + clearlyBetter;
}

std::string_view scriptOfLanguage(std::string_view language)
{
    const auto found = std::find_if(scripts.begin(), scripts.end(),
                                    [&](const Script& script) { return lists(script, language); });
    return found == scripts.end() ? latin : found->name;
}

std::vector<std::string> languagesOfScript(std::string_view script,
                                           std::span<const std::string> installed,
                                           std::span<const std::string> users)
{
    std::vector<std::string> chosen;
    const auto choose = [&](const std::string& language) {
        if (isWrittenIn(language, script) &&
            std::find(installed.begin(), installed.end(), language) != installed.end() &&
            std::find(chosen.begin(), chosen.end(), language) == chosen.end())
            chosen.push_back(language);
    };
    for (const std::string& language : users) choose(language);
    choose("eng");
    for (const std::string& language : installed) choose(language);
    return chosen;
}

} // namespace korvane

#include "recognition/LanguageNames.h"

#include <algorithm>
#include <array>
#include <utility>

namespace korvane {

namespace {

/** A language that Tesseract has data for. */
struct Language {
    std::string_view name;
    std::string_view script;
    /** ISO 639, with the codes of old and of variants. None for historic languages, for vertical
     *  writing and the like, which no locale and no text asks for. */
    std::string_view codes = {};
    /** Its script among those of the same code, as in ISO 15924. */
    std::string_view variant = {};
};

/** Of each script the languages with most printed matter first; of one code the most usual script.
 */
constexpr std::array languages{
    Language{"eng", "Latin", "en eng"},
    Language{"spa", "Latin", "es spa"},
    Language{"fra", "Latin", "fr fra"},
    Language{"deu", "Latin", "de deu"},
    Language{"por", "Latin", "pt por"},
    Language{"ita", "Latin", "it ita"},
    Language{"nld", "Latin", "nl nld"},
    Language{"pol", "Latin", "pl pol"},
    Language{"tur", "Latin", "tr tur"},
    Language{"vie", "Latin", "vi vie"},
    Language{"ind", "Latin", "id in ind"},
    Language{"swe", "Latin", "sv swe"},
    Language{"ron", "Latin", "ro mo ron"},
    Language{"ces", "Latin", "cs ces"},
    Language{"hun", "Latin", "hu hun"},
    Language{"dan", "Latin", "da dan"},
    Language{"fin", "Latin", "fi fin"},
    Language{"nor", "Latin", "no nb nn nor nob nno"},
    Language{"cat", "Latin", "ca cat"},
    Language{"hrv", "Latin", "hr hrv"},
    Language{"slk", "Latin", "sk slk"},
    Language{"slv", "Latin", "sl slv"},
    Language{"lit", "Latin", "lt lit"},
    Language{"lav", "Latin", "lv lav lvs"},
    Language{"est", "Latin", "et est ekk"},
    Language{"sqi", "Latin", "sq sqi als"},
    Language{"bos", "Latin", "bs bos"},
    Language{"isl", "Latin", "is isl"},
    Language{"glg", "Latin", "gl glg"},
    Language{"eus", "Latin", "eu eus"},
    Language{"gle", "Latin", "ga gle"},
    Language{"cym", "Latin", "cy cym"},
    Language{"mlt", "Latin", "mt mlt"},
    Language{"afr", "Latin", "af afr"},
    Language{"msa", "Latin", "ms msa zsm"},
    Language{"fil", "Latin", "tl fil tgl"},
    Language{"swa", "Latin", "sw swa swh"},
    Language{"epo", "Latin", "eo epo"},
    Language{"lat", "Latin", "la lat"},
    Language{"aze", "Latin", "az aze azj", "Latn"},
    Language{"uzb", "Latin", "uz uzb uzn", "Latn"},
    Language{"kmr", "Latin", "ku kur kmr", "Latn"},
    Language{"jav", "Latin", "jv jw jav"},
    Language{"sun", "Latin", "su sun"},
    Language{"mri", "Latin", "mi mri"},
    Language{"hat", "Latin", "ht hat"},
    Language{"ltz", "Latin", "lb ltz"},
    Language{"oci", "Latin", "oc oci"},
    Language{"bre", "Latin", "br bre"},
    Language{"cos", "Latin", "co cos"},
    Language{"fao", "Latin", "fo fao"},
    Language{"fry", "Latin", "fy fry"},
    Language{"gla", "Latin", "gd gla"},
    Language{"ceb", "Latin", "ceb"},
    Language{"que", "Latin", "qu que"},
    Language{"ton", "Latin", "to ton"},
    Language{"yor", "Latin", "yo yor"},
    Language{"enm", "Latin"},
    Language{"frm", "Latin"},
    Language{"ita_old", "Latin"},
    Language{"spa_old", "Latin"},
    Language{"frk", "Fraktur"},
    Language{"deu_latf", "Fraktur"},
    Language{"deu_frak", "Fraktur"},
    Language{"dan_frak", "Fraktur"},
    Language{"slk_frak", "Fraktur"},
    Language{"rus", "Cyrillic", "ru rus"},
    Language{"ukr", "Cyrillic", "uk ukr"},
    Language{"bul", "Cyrillic", "bg bul"},
    Language{"srp", "Cyrillic", "sr srp", "Cyrl"},
    Language{"srp_latn", "Latin", "sr srp", "Latn"},
    Language{"bel", "Cyrillic", "be bel"},
    Language{"mkd", "Cyrillic", "mk mkd"},
    Language{"kaz", "Cyrillic", "kk kaz"},
    Language{"uzb_cyrl", "Cyrillic", "uz uzb uzn", "Cyrl"},
    Language{"aze_cyrl", "Cyrillic", "az aze azj", "Cyrl"},
    Language{"tgk", "Cyrillic", "tg tgk"},
    Language{"kir", "Cyrillic", "ky kir"},
    Language{"mon", "Cyrillic", "mn mon khk"},
    Language{"tat", "Cyrillic", "tt tat"},
    Language{"ara", "Arabic", "ar ara arb"},
    Language{"fas", "Arabic", "fa fas pes prs"},
    Language{"urd", "Arabic", "ur urd"},
    Language{"pus", "Arabic", "ps pus pbt"},
    Language{"kur_ara", "Arabic", "ku kur ckb", "Arab"},
    Language{"snd", "Arabic", "sd snd"},
    Language{"uig", "Arabic", "ug uig"},
    Language{"chi_sim", "Han", "zh zho cmn", "Hans"},
    Language{"chi_tra", "Han", "zh zho cmn", "Hant"},
    Language{"jpn", "Japanese", "ja jpn"},
    Language{"chi_sim_vert", "Han"},
    Language{"chi_tra_vert", "Han"},
    Language{"jpn_vert", "Japanese"},
    Language{"kor", "Korean", "ko kor"},
    Language{"kor_vert", "Korean"},
    Language{"ell", "Greek", "el ell"},
    Language{"grc", "Greek", "grc"},
    Language{"hin", "Devanagari", "hi hin"},
    Language{"mar", "Devanagari", "mr mar"},
    Language{"nep", "Devanagari", "ne nep npi"},
    Language{"san", "Devanagari", "sa san"},
    Language{"ben", "Bengali", "bn ben"},
    Language{"asm", "Bengali", "as asm"},
    Language{"heb", "Hebrew", "he iw heb"},
    Language{"yid", "Hebrew", "yi ji yid"},
    Language{"amh", "Ethiopic", "am amh"},
    Language{"tir", "Ethiopic", "ti tir"},
    Language{"kat", "Georgian", "ka kat"},
    Language{"kat_old", "Georgian"},
    Language{"bod", "Tibetan", "bo bod"},
    Language{"dzo", "Tibetan", "dz dzo"},
    Language{"tha", "Thai", "th tha"},
    Language{"tam", "Tamil", "ta tam"},
    Language{"tel", "Telugu", "te tel"},
    Language{"kan", "Kannada", "kn kan"},
    Language{"mal", "Malayalam", "ml mal"},
    Language{"guj", "Gujarati", "gu guj"},
    Language{"pan", "Gurmukhi", "pa pan"},
    Language{"ori", "Oriya", "or ori ory"},
    Language{"sin", "Sinhala", "si sin"},
    Language{"hye", "Armenian", "hy hye"},
    Language{"khm", "Khmer", "km khm"},
    Language{"lao", "Lao", "lo lao"},
    Language{"mya", "Myanmar", "my mya"},
    Language{"div", "Thaana", "dv div"},
    Language{"syr", "Syriac", "syr"},
    Language{"iku", "Canadian_Aboriginal", "iu iku ike"},
    Language{"chr", "Cherokee", "chr"},
};

constexpr std::string_view latin = "Latin";

/** What Tesseract finds on a page, and the script of the table that it is. */
struct ScriptAlias {
    std::string_view found;
    std::string_view script;
};
constexpr std::array scriptAliases{
    ScriptAlias{"Han", "Japanese"},
    ScriptAlias{"Hiragana", "Japanese"},
    ScriptAlias{"Katakana", "Japanese"},
    ScriptAlias{"Hangul", "Korean"},
};

bool listsWord(std::string_view list, std::string_view word)
{
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(' '), list.size());
        if (list.substr(0, end) == word) return true;
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return false;
}

bool isScript(const Language& language, std::string_view script)
{
    return language.script == script ||
           std::ranges::any_of(scriptAliases, [&](const ScriptAlias& alias) {
               return alias.found == script && alias.script == language.script;
           });
}

const Language* find(std::string_view name)
{
    const auto found = std::ranges::find(languages, name, &Language::name);
    return found == languages.end() ? nullptr : &*found;
}

std::string lowercase(std::string_view text)
{
    std::string lower(text);
    for (char& letter : lower)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return lower;
}

/** The script of a part after the language: ISO 15924, a locale's modifier, or where Chinese is
 *  written in the traditional script. */
std::string_view variantOf(std::string_view part)
{
    struct Variant {
        std::string_view parts;
        std::string_view code;
    };
    static constexpr std::array variants{
        Variant{"latn latin", "Latn"}, Variant{"cyrl cyrillic", "Cyrl"}, Variant{"arab", "Arab"},
        Variant{"hant tw hk mo", "Hant"}, Variant{"hans cn sg", "Hans"}};
    const auto found = std::ranges::find_if(
        variants, [&](const Variant& variant) { return listsWord(variant.parts, part); });
    return found == variants.end() ? std::string_view() : found->code;
}

/** A code or locale in its parts: "sr_RS.UTF-8@latin" is "sr" and "Latn". */
struct CodeParts {
    std::string language;
    std::vector<std::string_view> variants;
};

CodeParts partsOf(std::string_view code)
{
    static constexpr std::string_view separators = "_-.@";
    CodeParts parts;
    std::string rest = lowercase(code);
    parts.language = rest.substr(0, rest.find_first_of(separators));
    for (std::size_t start = parts.language.size(); start < rest.size();) {
        const std::size_t end = std::min(rest.find_first_of(separators, start + 1), rest.size());
        const auto variant = variantOf(std::string_view(rest).substr(start + 1, end - start - 1));
        if (!variant.empty()) parts.variants.push_back(variant);
        start = end;
    }
    return parts;
}

} // namespace

std::vector<std::string> languagesOfCode(std::string_view code)
{
    const CodeParts parts = partsOf(code);
    std::vector<std::string> all, ofVariant;
    for (const Language& language : languages) {
        if (!listsWord(language.codes, parts.language)) continue;
        all.emplace_back(language.name);
        if (std::ranges::find(parts.variants, language.variant) != parts.variants.end())
            ofVariant.emplace_back(language.name);
    }
    return ofVariant.empty() ? all : ofVariant;
}

std::vector<std::string> languagesOfCodes(const std::vector<std::string>& codes)
{
    std::vector<std::string> named;
    for (const std::string& code : codes)
        for (std::string& language : languagesOfCode(code))
            if (std::ranges::find(named, language) == named.end())
                named.push_back(std::move(language));
    return named;
}

std::string codeOfLanguage(std::string_view language)
{
    const Language* const known = find(language);
    if (known == nullptr || known->codes.empty()) return std::string(language);
    std::string code(known->codes.substr(0, known->codes.find(' ')));
    return known->variant.empty() ? code : (code += '-') += known->variant;
}

std::string_view scriptOfLanguage(std::string_view language)
{
    const Language* const known = find(language);
    return known == nullptr ? latin : known->script;
}

bool isWrittenIn(std::string_view language, std::string_view script)
{
    const Language* const known = find(language);
    return known == nullptr ? script == latin : isScript(*known, script);
}

std::vector<std::string> languagesOfScript(std::string_view script)
{
    std::vector<std::string> written;
    for (const Language& language : languages)
        if (isScript(language, script)) written.emplace_back(language.name);
    return written;
}

std::string packageOfLanguage(std::string_view language)
{
    std::string package = "tesseract-ocr-" + std::string(language);
    std::ranges::replace(package, '_', '-');
    return package;
}

} // namespace korvane

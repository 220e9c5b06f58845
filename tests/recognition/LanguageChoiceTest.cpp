#include "recognition/LanguageChoice.h"

#include "recognition/LanguageNames.h"

#include <gmock/gmock.h>

namespace korvane {
namespace {

/** A reading of 100 words. */
PageReading reading(double confidence, int known, const std::string& script = {},
                    const std::vector<std::string>& likely = {})
{
    return {.confidence = confidence,
            .words = 100,
            .dictionaryWords = known,
            .script = script,
            .likelyLanguages = likely};
}

/** A page in another script. */
PageReading garbage(const std::string& script)
{
    return reading(40, 10, script);
}

LanguageTrial tried(const std::string& language, const PageReading& page)
{
    return {language, page};
}

const std::vector<std::string> some = {"chi_sim", "chi_tra", "deu", "eng",      "fra",
                                       "jpn",     "rus",     "srp", "srp_latn", "ukr"};

std::vector<std::string> allLanguages()
{
    std::vector<std::string> all;
    for (const char* script : {"Latin", "Cyrillic", "Arabic", "Han", "Greek", "Korean"})
        for (const std::string& language : languagesOfScript(script)) all.push_back(language);
    std::ranges::sort(all);
    return all;
}

TEST(LanguageChoice, BeginsWithTheLanguageThatIsLikeliest)
{
    struct Case {
        const char* name;
        LanguageOptions options;
        const char* first;
    };
    const Case cases[] = {
        {"that of the document", {some, {"deu"}, "fra", {"rus"}}, "fra"},
        {"the user's", {some, {"deu", "eng"}, "", {"rus"}}, "deu"},
        {"the first of the user's that is installed", {some, {"ita", "fra"}, "", {"rus"}}, "fra"},
        {"that of earlier documents", {some, {"ita"}, "", {"pol", "fra"}}, "fra"},
        {"English", {some, {"ita"}, "", {}}, "eng"},
        {"one of the user's script", {{"afr", "fra", "rus"}, {"eng"}, "", {}}, "fra"},
        {"one of the script of a user of another", {{"deu", "ukr"}, {"rus"}, "", {}}, "ukr"},
        {"any", {{"ell", "rus"}, {"deu"}, "", {}}, "ell"},
        {"any that has no ISO code", {{"xyz"}, {}, "", {}}, "xyz"},
    };
    for (const Case& each : cases)
        EXPECT_EQ(nextLanguage(each.options, {}), each.first) << each.name;
    EXPECT_EQ(nextLanguage({}, {}), std::nullopt);
}

TEST(LanguageChoice, TriesOthersOnlyWhereSomethingSpeaksForThem)
{
    const std::vector<std::string> all = allLanguages(), few = {"bul", "eng", "kir"};
    const LanguageTrial cyrillic = tried("eng", garbage("Cyrillic"));
    const LanguageTrial han = tried("eng", garbage("Han"));
    const LanguageTrial poor = tried("eng", reading(60, 30));
    const auto english = [](double confidence, int known, const std::vector<std::string>& likely,
                            const std::string& script = "") {
        return tried("eng", reading(confidence, known, script, likely));
    };
    struct Case {
        const char* name;
        LanguageOptions options;
        std::vector<LanguageTrial> trials;
        std::optional<std::string> next;
    };
    const Case cases[] = {
        {"read well", {some, {"eng", "deu"}}, {english(95, 97, {"de"})}, {}},
        {"words of another", {some, {"eng"}}, {english(91, 70, {"fr"})}, "fra"},
        {"words of another, all installed", {all, {"eng"}}, {english(88, 50, {"de"})}, "deu"},
        {"words of one not installed", {some, {"eng"}}, {english(91, 70, {"es"})}, {}},
        {"its words are in it", {some, {"eng", "deu"}}, {english(91, 70, {"en"})}, {}},
        {"decent, nothing tells", {some, {"eng", "deu"}}, {english(86, 61, {})}, {}},
        {"less than decent", {some, {"eng", "rus", "deu"}}, {english(84, 61, {})}, "deu"},
        {"few known words", {some, {"eng", "deu"}}, {english(90, 59, {})}, "deu"},
        {"nothing tells, all installed", {all, {"eng"}}, {poor}, {}},
        {"hardly a letter",
         {all, {"eng", "deu"}},
         {tried("eng", {.confidence = 20, .words = 3})},
         {}},
        {"blank", {all, {"eng", "deu"}}, {tried("eng", {})}, {}},
        {"another script, the user's", {some, {"eng", "deu", "ukr"}}, {cyrillic}, "ukr"},
        {"another script, met before", {some, {"eng"}, "", {"deu", "ukr"}}, {cyrillic}, "ukr"},
        {"another script, its most common", {some, {"eng"}}, {cyrillic}, "rus"},
        {"another script, most common installed", {few, {"eng"}}, {cyrillic}, "bul"},
        {"another script, none in it", {some, {"eng"}}, {tried("eng", garbage("Greek"))}, {}},
        {"Latin for another user", {some, {"rus"}}, {tried("rus", garbage("Latin"))}, "eng"},
        {"Chinese", {some, {"eng"}}, {han}, "chi_sim"},
        {"Chinese in the other writing",
         {some, {"eng"}},
         {han, tried("chi_sim", reading(80, 50, "Han", {"zh-Hant"}))},
         "chi_tra"},
        {"of a script that of its words",
         {some, {"eng"}},
         {cyrillic, tried("rus", reading(85, 50, "Cyrillic", {"uk"}))},
         "ukr"},
        {"of two scripts, Latin", {some, {"eng"}}, {english(80, 40, {"sr"}, "Latin")}, "srp_latn"},
        {"of two scripts, Cyrillic",
         {some, {"rus"}},
         {tried("rus", reading(80, 40, "", {"sr"}))},
         "srp"},
        {"three readings",
         {some, {"eng", "deu", "fra"}, "rus"},
         {tried("rus", garbage("Latin")), poor, tried("deu", reading(60, 30))},
         {}}};
    for (const Case& each : cases)
        EXPECT_EQ(nextLanguage(each.options, each.trials), each.next) << each.name;
}

TEST(LanguageChoice, PassesOverLanguagesThatCannotBeUsed)
{
    const LanguageOptions options{some, {"deu", "fra"}};
    std::vector<LanguageTrial> trials = {{"deu", {}}};
    EXPECT_EQ(nextLanguage(options, trials), "fra");
    trials.push_back(tried("fra", reading(60, 30, "Cyrillic")));
    EXPECT_EQ(nextLanguage(options, trials), "rus");
    trials.assign({{"deu", {}}, {"fra", {}}, {"eng", {}}, {"rus", {}}});
    EXPECT_TRUE(nextLanguage(options, trials));
    trials.push_back({"ukr", {}});
    EXPECT_EQ(nextLanguage(options, trials), std::nullopt) << "the page is the reason";
    EXPECT_EQ(bestTrial(trials), nullptr);
}

TEST(LanguageChoice, TakesTheBestReadingAndTheEarlierOfTwoThatAreAlike)
{
    const std::vector<LanguageTrial> trials = {tried("eng", reading(91, 60)),
                                               {"deu", {}},
                                               tried("fra", reading(92, 95)),
                                               tried("ita", reading(93, 95))};
    EXPECT_EQ(bestTrial(trials), &trials[2]);
    EXPECT_EQ(bestTrial({}), nullptr);
}

TEST(LanguageChoice, PrefersAWholePageToTheBeginningOfItThatReadsALittleBetter)
{
    const auto withWords = [](PageReading page, std::size_t count, bool isComplete) {
        page.lines = {{.words = std::vector<TextWord>(count, {"word", 0, 30})}};
        page.isComplete = isComplete;
        return page;
    };
    const PageReading decent = reading(80, 70);
    const PageReading good = reading(90, 90);
    struct Case {
        PageReading first;
        PageReading second;
        const char* best;
    };
    const Case cases[] = {
        {withWords(decent, 100, true), withWords(good, 25, false), "eng"},
        {withWords(good, 25, false), withWords(decent, 100, true), "deu"},
        {withWords(decent, 100, true), withWords(good, 95, false), "deu"},
        {withWords(decent, 100, true), withWords(good, 25, true), "deu"},
        {withWords(garbage("Latin"), 100, true), withWords(good, 50, false), "deu"}};
    for (const Case& each : cases) {
        const std::vector<LanguageTrial> trials = {tried("eng", each.first),
                                                   tried("deu", each.second)};
        EXPECT_EQ(bestTrial(trials)->language, each.best) << &each - cases;
    }
}

} // namespace
} // namespace korvane

#include "document/LanguageChoice.h"

#include <gmock/gmock.h>

namespace korvane {
namespace {

TEST(LanguageChoice, OffersTheUsersLanguagesOfAScriptFirst)
{
    const std::vector<std::string> installed = {"deu", "eng",     "fra", "jpn", "kor",
                                                "kmr", "kur_ara", "ara", "xyz", "rus",
                                                "ukr", "chi_sim", "ell"};
    struct Case {
        std::string script;
        std::vector<std::string> users;
        std::vector<std::string> chosen;
    };
    const Case cases[] = {
        {"Latin", {"fra", "ita", "fra"}, {"fra", "eng", "deu", "kmr", "xyz"}},
        {"Latin", {""}, {"eng", "deu", "fra", "kmr", "xyz"}},
        {"Fraktur", {"deu"}, {"deu", "eng", "fra", "kmr", "xyz"}},
        {"Cyrillic", {"ukr", "deu"}, {"ukr", "rus"}},
        {"Arabic", {}, {"kur_ara", "ara"}},
        {"Han", {}, {"jpn", "chi_sim"}},
        {"Thai", {}, {}},
    };
    for (const Case& each : cases)
        EXPECT_EQ(languagesOfScript(each.script, installed, each.users), each.chosen)
            << each.script;
    EXPECT_EQ(scriptOfLanguage("ell"), "Greek");
    EXPECT_EQ(scriptOfLanguage("el"), "Latin");
    EXPECT_EQ(scriptOfLanguage(""), "Latin");
}

TEST(LanguageChoice, TellsGoodReadingsFromPoorOnes)
{
    struct Case {
        RecognizedLine line;
        bool well;
        bool poorly;
    };
    const Case cases[] = {{{"", 95, 10, 10}, true, false}, {{"", 95, 10, 8}, false, false},
                          {{"", 95, 3, 0}, true, false},   {{"", 84, 10, 10}, false, false},
                          {{"", 60, 10, 10}, false, true}, {{"", 95, 0, 0}, true, false}};
    for (const Case& each : cases) {
        const ReadingScore score = scoreReading(std::vector{each.line});
        EXPECT_EQ(readsWell(score), each.well) << each.line.confidence << " " << each.line.words;
        EXPECT_EQ(readsPoorly(score), each.poorly) << each.line.confidence;
    }
    const auto score = [](double confidence, int known) {
        return scoreReading(std::vector{RecognizedLine{"", confidence, 10, known}});
    };
    EXPECT_TRUE(readsBetter(score(92, 10), score(93, 7)));
    EXPECT_FALSE(readsBetter(score(93, 9), score(92, 9)));
    EXPECT_FALSE(readsWell(scoreReading({})));
}

} // namespace
} // namespace korvane

#include "lib/cld2/LanguageDetector.h"

#include <gmock/gmock.h>

namespace korvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string german = "Nach einer langen Aussprache beschlossen die Mitglieder, die "
                           "Abstimmung auf die nächste Woche zu verschieben. ";
const std::string french = "Les habitants, nombreux dans la salle, ont écouté avec attention les "
                           "différentes interventions et posé quelques questions. ";

TEST(LanguageDetector, TellsTheLanguageOfAText)
{
    const std::pair<std::string, const char*> cases[] = {
        {german, "de"},
        {french, "fr"},
        {"Вчера вечером городской совет собрался, чтобы обсудить бюджет на будущий год.", "ru"},
        {"Το δημοτικό συμβούλιο συνεδρίασε χθες το βράδυ για τον προϋπολογισμό.", "el"},
        {"這是一個用繁體中文寫的句子,應該可以識別出來。", "zh-Hant"}};
    for (const auto& [text, code] : cases) EXPECT_THAT(detectLanguages(text), ElementsAre(code));
}

TEST(LanguageDetector, PutsTheLanguageWithMostTextFirst)
{
    EXPECT_THAT(detectLanguages(french + french + french + german + german),
                ElementsAre("fr", "de"));
    EXPECT_THAT(detectLanguages(german + german + german + french + french),
                ElementsAre("de", "fr"));
}

TEST(LanguageDetector, SaysNothingOfATextThatDoesNotTell)
{
    std::string book;
    while (book.size() <= 1 << 20) book += german;
    for (const std::string& text :
         {std::string(), std::string("ok 12"), std::string("1 2 3 4 5 6"), "\xFF" + german, book})
        EXPECT_THAT(detectLanguages(text), IsEmpty()) << text.substr(0, 20);
}

} // namespace
} // namespace korvane

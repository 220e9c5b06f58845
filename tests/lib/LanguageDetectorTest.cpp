#include "lib/cld2/LanguageDetector.h"

#include <gmock/gmock.h>

namespace korvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string german = "Nach einer langen Aussprache beschlossen die Mitglieder, die "
                           "Abstimmung auf die nächste Woche zu verschieben. ";

TEST(LanguageDetector, TellsTheWritingsOfChineseApart)
{
    EXPECT_THAT(detectLanguages("這是一個用繁體中文寫的句子,應該可以識別出來。"),
                ElementsAre("zh-Hant"));
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

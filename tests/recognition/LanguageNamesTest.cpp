#include "recognition/LanguageNames.h"

#include <gmock/gmock.h>

namespace korvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(LanguageNames, UnderstandsCodesAndLocales)
{
    using Names = std::vector<std::string>;
    const std::pair<const char*, Names> cases[] = {
        {"de", {"deu"}},
        {"deu", {"deu"}},
        {"de_AT.UTF-8@euro", {"deu"}},
        {"PT-br", {"por"}},
        {"nb_NO", {"nor"}},
        {"nn_NO.UTF-8", {"nor"}},
        {"no", {"nor"}},
        {"ku", {"kmr", "kur_ara"}},
        {"ku_TR", {"kmr", "kur_ara"}},
        {"ku-Arab", {"kur_ara"}},
        {"ckb_IQ", {"kur_ara"}},
        {"az_AZ", {"aze", "aze_cyrl"}},
        {"az-Cyrl-AZ", {"aze_cyrl"}},
        {"uz_UZ@cyrillic", {"uzb_cyrl"}},
        {"sr", {"srp", "srp_latn"}},
        {"sr_RS@latin", {"srp_latn"}},
        {"zh-Hans", {"chi_sim"}},
        {"zh_CN.UTF-8", {"chi_sim"}},
        {"zh_TW", {"chi_tra"}},
        {"zh_HK.big5hkscs", {"chi_tra"}},
        {"zh-Hant", {"chi_tra"}},
        {"zh", {"chi_sim", "chi_tra"}},
        {"he", {"heb"}},
        {"iw", {"heb"}},
        {"id", {"ind"}},
        {"in", {"ind"}},
        {"tl", {"fil"}},
        {"fil_PH", {"fil"}},
        {"hi_IN", {"hin"}},
        {"C", {}},
        {"POSIX", {}},
        {"", {}},
        {"xx-Latn", {}},
        {"tlh", {}},
    };
    for (const auto& [code, names] : cases) EXPECT_EQ(languagesOfCode(code), names) << code;
    EXPECT_THAT(languagesOfCodes({"de_DE", "de", "en"}), ElementsAre("deu", "eng"));
}

TEST(LanguageNames, KnowsTheScriptsOfLanguages)
{
    const std::pair<const char*, const char*> cases[] = {
        {"deu", "Latin"},         {"kmr", "Latin"},      {"kur_ara", "Arabic"},
        {"srp", "Cyrillic"},      {"srp_latn", "Latin"}, {"aze_cyrl", "Cyrillic"},
        {"uzb_cyrl", "Cyrillic"}, {"chi_tra", "Han"},    {"jpn", "Japanese"},
        {"ell", "Greek"},         {"frk", "Fraktur"},    {"xyz", "Latin"}};
    for (const auto& [language, script] : cases) EXPECT_EQ(scriptOfLanguage(language), script);
    EXPECT_TRUE(isWrittenIn("jpn", "Han"));
    EXPECT_TRUE(isWrittenIn("kor", "Hangul"));
    EXPECT_TRUE(isWrittenIn("xyz", "Latin"));
    EXPECT_FALSE(isWrittenIn("deu", "Fraktur"));
    EXPECT_FALSE(isWrittenIn("chi_sim", "Japanese"));
}

TEST(LanguageNames, ListsTheLanguagesOfAScriptTheMostCommonFirst)
{
    EXPECT_EQ(languagesOfScript("Latin").front(), "eng");
    EXPECT_EQ(languagesOfScript("Cyrillic").front(), "rus");
    EXPECT_EQ(languagesOfScript("Arabic").front(), "ara");
    EXPECT_THAT(languagesOfScript("Devanagari"), ElementsAre("hin", "mar", "nep", "san"));
    EXPECT_EQ(languagesOfScript("Han").at(2), "jpn");
    EXPECT_THAT(languagesOfScript("Klingon"), IsEmpty());
}

TEST(LanguageNames, NamesPackagesAsDebianDoes)
{
    EXPECT_EQ(packageOfLanguage("deu"), "tesseract-ocr-deu");
    EXPECT_EQ(packageOfLanguage("chi_sim"), "tesseract-ocr-chi-sim");
}

} // namespace
} // namespace korvane

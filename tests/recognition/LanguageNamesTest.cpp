#include "recognition/LanguageNames.h"

#include <gmock/gmock.h>

#include <map>

namespace korvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(LanguageNames, UnderstandsCodesAndLocales)
{
    using Names = std::vector<std::string>;
    const std::map<Names, Names> codes = {{{}, {"C", "POSIX", "", "xx-Latn", "tlh"}},
                                          {{"deu"}, {"de", "deu", "de_AT.UTF-8@euro"}},
                                          {{"por"}, {"PT-br"}},
                                          {{"nor"}, {"no", "nb_NO", "nn_NO.UTF-8"}},
                                          {{"kmr", "kur_ara"}, {"ku", "ku_TR"}},
                                          {{"kur_ara"}, {"ku-Arab", "ckb_IQ"}},
                                          {{"aze", "aze_cyrl"}, {"az_AZ"}},
                                          {{"aze_cyrl"}, {"az-Cyrl-AZ"}},
                                          {{"uzb_cyrl"}, {"uz_UZ@cyrillic"}},
                                          {{"srp", "srp_latn"}, {"sr"}},
                                          {{"srp_latn"}, {"sr_RS@latin"}},
                                          {{"chi_sim"}, {"zh-Hans", "zh_CN.UTF-8"}},
                                          {{"chi_tra"}, {"zh_TW", "zh_HK.big5hkscs", "zh-Hant"}},
                                          {{"chi_sim", "chi_tra"}, {"zh"}},
                                          {{"heb"}, {"he", "iw"}},
                                          {{"ind"}, {"id", "in"}},
                                          {{"fil"}, {"tl", "fil_PH"}}};
    for (const auto& [names, all] : codes)
        for (const std::string& code : all) EXPECT_EQ(languagesOfCode(code), names) << code;
    EXPECT_THAT(languagesOfCodes({"de_DE", "de", "en"}), ElementsAre("deu", "eng"));
}

TEST(LanguageNames, TellsTheCodeOfALanguage)
{
    for (const auto& [language, code] : {std::pair{"deu", "de"},
                                         {"chi_sim", "zh-Hans"},
                                         {"srp_latn", "sr-Latn"},
                                         {"enm", "enm"},
                                         {"xyz", "xyz"}})
        EXPECT_EQ(codeOfLanguage(language), code);
}

TEST(LanguageNames, NamesPackagesAsDebianDoes)
{
    EXPECT_EQ(packageOfLanguage("deu"), "tesseract-ocr-deu");
    EXPECT_EQ(packageOfLanguage("chi_sim"), "tesseract-ocr-chi-sim");
}

} // namespace
} // namespace korvane

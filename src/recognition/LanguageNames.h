#pragma once

#include <string>
#include <string_view>
#include <vector>

/** The languages that Tesseract has data for: their names, ISO 639 codes and scripts. */
namespace korvane {

/**
 * The languages that a code or locale stands for, as Tesseract names them: "de", "deu",
 * "de_AT.UTF-8" and "de-AT" are "deu"; several where a language is written in several scripts and
 * the code does not say in which ("sr"), the most usual first. ISO 639-1 and -3, with a script (ISO
 * 15924) or a region as in BCP 47 and in the names of locales. Empty for what Tesseract has no data
 * for.
 */
std::vector<std::string> languagesOfCode(std::string_view code);

/** The same of several codes, in their order, without repetitions. */
std::vector<std::string> languagesOfCodes(const std::vector<std::string>& codes);

/** The code of a language that Tesseract names so, as in BCP 47: "de", and where a code is that of
 *  several "zh-Hans"; the name itself where there is none. */
std::string codeOfLanguage(std::string_view language);

/** The script in which a language is written, as Tesseract names it; Latin for an unknown one. */
std::string_view scriptOfLanguage(std::string_view language);

/** Whether a language is written in a script: Japanese is in Japanese and in Han. */
bool isWrittenIn(std::string_view language, std::string_view script);

/** The languages written in a script, the most common first. */
std::vector<std::string> languagesOfScript(std::string_view script);

/** The Debian package with a language's data. */
std::string packageOfLanguage(std::string_view language);

} // namespace korvane

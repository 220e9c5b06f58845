#pragma once

#include <string>
#include <vector>

namespace korvane {

/**
 * The language of the user's locale (LC_MESSAGES) as text recognition names it: the terminological
 * code of ISO 639-2 ("deu"), for Chinese with its writing ("chi_sim"). Empty for the C locale and
 * for one that is not installed.
 */
std::string userLanguage();

/** The same of a locale by its name, "de_AT.UTF-8" for example. */
std::string languageOfLocale(const std::string& locale);

} // namespace korvane

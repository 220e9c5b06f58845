#include "platform/system/UserLanguage.h"

#include <langinfo.h>
#include <locale.h>

#include <clocale>
#include <memory>
#include <type_traits>

namespace korvane {

namespace {

struct FreeLocale {
    void operator()(locale_t locale) const { ::freelocale(locale); }
};
using Locale = std::unique_ptr<std::remove_pointer_t<locale_t>, FreeLocale>;

} // namespace

std::string languageOfLocale(const std::string& locale)
{
    if (locale.starts_with("zh_TW") || locale.starts_with("zh_HK")) return "chi_tra";
    if (locale.starts_with("zh")) return "chi_sim";
    const Locale loaded(::newlocale(LC_ALL_MASK, locale.c_str(), nullptr));
    if (!loaded) return "";
    const char* const code = ::nl_langinfo_l(_NL_ADDRESS_LANG_TERM, loaded.get());
    return code ? code : "";
}

std::string userLanguage()
{
    const Locale users(::newlocale(LC_MESSAGES_MASK, "", nullptr));
    if (!users) return "";
    const char* const name = ::nl_langinfo_l(NL_LOCALE_NAME(LC_MESSAGES), users.get());
    return name ? languageOfLocale(name) : "";
}

} // namespace korvane

#include "recognition/LanguageChoice.h"

#include "recognition/LanguageNames.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace korvane {

namespace {

/** The language of a page gives a confidence of 95 and knows 97 words of 100, others of the same
 *  script 85 to 94 and 35 to 87; of another script the confidence is about 40. */
constexpr double goodConfidence = 85;
constexpr double goodKnown = 0.9;
constexpr double decentKnown = 0.6;
constexpr double clearlyBetter = 0.02;
/** With fewer words the share of known ones is not significant. */
constexpr int minWords = 4;

constexpr std::ptrdiff_t maxReadings = 3;
/** Where so many languages could not be used, the page is the reason and not their data. */
constexpr std::ptrdiff_t maxFailures = 4;

constexpr const char* mostCommonLanguage = "eng";

bool contains(const std::vector<std::string>& languages, std::string_view language)
{
    return std::ranges::find(languages, language) != languages.end();
}

/** Languages in the order in which they come; of those not installed and of repetitions, none. */
class Candidates {
public:
    explicit Candidates(const std::vector<std::string>& installed) : installed_(installed) {}

    void add(const std::string& language)
    {
        if (contains(installed_, language) && !contains(chosen_, language))
            chosen_.push_back(language);
    }

    void add(const std::vector<std::string>& languages)
    {
        for (const std::string& language : languages) add(language);
    }

    /** Those of a list that are written in a script. */
    void add(const std::vector<std::string>& languages, std::string_view script)
    {
        for (const std::string& language : languages)
            if (isWrittenIn(language, script)) add(language);
    }

    /** The first of a list that is installed. */
    void addFirst(const std::vector<std::string>& languages)
    {
        const auto found = std::ranges::find_if(languages, [this](const std::string& language) {
            return contains(installed_, language);
        });
        if (found != languages.end()) add(*found);
    }

    std::optional<std::string> firstUntried(std::span<const LanguageTrial> trials) const
    {
        const auto found = std::ranges::find_if(chosen_, [&](const std::string& language) {
            return std::ranges::find(trials, language, &LanguageTrial::language) == trials.end();
        });
        if (found == chosen_.end()) return std::nullopt;
        return *found;
    }

private:
    const std::vector<std::string>& installed_;
    std::vector<std::string> chosen_;
};

double wordCount(const PageReading& reading)
{
    std::size_t count = 0;
    for (const TextLine& line : reading.lines) count += line.words.size();
    return static_cast<double>(count);
}

/** Of what was read until the time limit, no more counts than its share of the other's words. */
double valueAgainst(const PageReading& reading, const PageReading& other)
{
    const double value = scoreReading(reading).value();
    const double words = wordCount(reading);
    const double others = wordCount(other);
    return reading.isComplete || words >= others ? value : value * words / others;
}

/** For a page of which nothing is known. */
Candidates firstLanguages(const LanguageOptions& options)
{
    Candidates candidates(options.installed);
    candidates.add(options.ofDocument);
    candidates.add(options.users);
    candidates.add(options.earlier);
    candidates.add(mostCommonLanguage);
    candidates.add(languagesOfScript(
        scriptOfLanguage(options.users.empty() ? mostCommonLanguage : options.users.front())));
    candidates.add(options.installed);
    return candidates;
}

/** Those of a code that write what was read in `language`: of "sr" the one in its script. */
std::vector<std::string> languagesLike(std::string_view language, std::string_view code)
{
    std::vector<std::string> same = languagesOfCode(code);
    std::erase_if(same, [&](const std::string& other) {
        return !isWrittenIn(other, scriptOfLanguage(language)) &&
               !isWrittenIn(language, scriptOfLanguage(other));
    });
    return same;
}

/** For a page that was not read well, given its best reading. */
Candidates otherLanguages(const LanguageOptions& options, const LanguageTrial& best)
{
    Candidates candidates(options.installed);
    const PageReading& reading = *best.reading;
    const bool isOtherScript =
        !reading.script.empty() && !isWrittenIn(best.language, reading.script);
    if (isOtherScript) {
        candidates.add(options.users, reading.script);
        candidates.add({options.ofDocument}, reading.script);
        candidates.add(options.earlier, reading.script);
        candidates.addFirst(languagesOfScript(reading.script));
    }
    for (const std::string& code : reading.likelyLanguages)
        candidates.addFirst(languagesLike(best.language, code));
    // With hardly a word nothing would tell which of them is right.
    const ReadingScore score = scoreReading(reading);
    if (!isOtherScript && !readsDecently(score) && tellsLanguage(score))
        candidates.add(options.users, scriptOfLanguage(best.language));
    return candidates;
}

} // namespace

ReadingScore scoreReading(const PageReading& reading)
{
    return {.confidence = reading.confidence,
            .known = reading.words == 0
                         ? 1
                         : static_cast<double>(reading.dictionaryWords) / reading.words,
            .words = reading.words};
}

bool readsWell(const ReadingScore& score)
{
    return score.confidence >= goodConfidence &&
           (score.known >= goodKnown || !tellsLanguage(score));
}

bool readsDecently(const ReadingScore& score)
{
    return score.confidence >= goodConfidence && score.known >= decentKnown;
}

bool tellsLanguage(const ReadingScore& score)
{
    return score.words >= minWords;
}

bool readsBetter(const PageReading& reading, const PageReading& before)
{
    return valueAgainst(reading, before) > valueAgainst(before, reading) + clearlyBetter;
}

const LanguageTrial* bestTrial(std::span<const LanguageTrial> trials)
{
    const LanguageTrial* best = nullptr;
    for (const LanguageTrial& trial : trials) {
        if (!trial.reading) continue;
        if (best == nullptr || readsBetter(*trial.reading, *best->reading)) best = &trial;
    }
    return best;
}

std::optional<std::string> nextLanguage(const LanguageOptions& options,
                                        std::span<const LanguageTrial> trials)
{
    const auto readings = std::ranges::count_if(
        trials, [](const LanguageTrial& trial) { return trial.reading.has_value(); });
    if (std::ssize(trials) - readings > maxFailures || readings >= maxReadings) return std::nullopt;
    const LanguageTrial* const best = bestTrial(trials);
    if (best == nullptr) return firstLanguages(options).firstUntried(trials);
    const bool isReadWell = std::ranges::any_of(trials, [](const LanguageTrial& trial) {
        return trial.reading && readsWell(scoreReading(*trial.reading));
    });
    if (isReadWell) return std::nullopt;
    return otherLanguages(options, *best).firstUntried(trials);
}

} // namespace korvane

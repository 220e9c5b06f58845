#include "status/AgentInterface.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

namespace korvane::agentInterface {

namespace {

using Phase = PrinterState::Phase;

constexpr std::array<std::pair<Phase, std::string_view>, 4> phases = {{
    {Phase::notConfigured, "not-configured"},
    {Phase::starting, "starting"},
    {Phase::ready, "ready"},
    {Phase::portUnavailable, "port-unavailable"},
}};

struct Writer {
    BusDictionary entries;

    template <typename T>
    void operator()(const char* key, const T& value)
    {
        entries.push_back({key, value});
    }
    void operator()(const char* key, Phase phase)
    {
        const auto* const found =
            std::ranges::find(phases, phase, &decltype(phases)::value_type::first);
        entries.push_back({key, std::string(found->second)});
    }
};

/** Numbers come from the bus in the type that they were sent in, from a file as `int64_t`. */
struct Reader {
    const BusDictionary& entries;
    bool isValid = true;

    const BusValue* find(const char* key) const
    {
        const auto found = std::ranges::find(entries, key, &BusEntry::key);
        return found == entries.end() ? nullptr : &found->value;
    }

    void operator()(const char* key, std::string& text)
    {
        const BusValue* const value = find(key);
        if (value == nullptr) return;
        const auto* const found = std::get_if<std::string>(value);
        isValid = isValid && found != nullptr;
        if (found != nullptr) text = *found;
    }

    void operator()(const char* key, Phase& phase)
    {
        std::string text;
        (*this)(key, text);
        const auto* const found =
            std::ranges::find(phases, text, &decltype(phases)::value_type::second);
        isValid = isValid && found != phases.end();
        if (found != phases.end()) phase = found->first;
    }

    template <std::integral Number>
    void operator()(const char* key, Number& number)
    {
        const BusValue* const value = find(key);
        if (value == nullptr) return;
        const auto take = [&number]<typename Found>(const Found& found) {
            if constexpr (std::integral<Found> && !std::same_as<Found, bool>) {
                if (!std::in_range<Number>(found)) return false;
                number = static_cast<Number>(found);
                return true;
            }
            return false;
        };
        isValid = std::visit(take, *value) && isValid;
    }
};

// Each type's members, once for both directions.

template <typename Coder, typename State>
void code(Coder& coder, State& state, const PrinterState* /*type*/)
{
    coder("State", state.phase);
    coder("Problem", state.problem);
    coder("Port", state.port);
    coder("PrinterName", state.printerName);
    coder("NetworkName", state.networkName);
    coder("HostName", state.hostName);
}

template <typename Coder, typename Job>
void code(Coder& coder, Job& job, const JobProgress* /*type*/)
{
    coder("number", job.number);
    coder("name", job.name);
    coder("message", job.message);
    coder("pagesCompleted", job.pagesCompleted);
    coder("pages", job.pages);
}

template <typename Coder, typename Document>
void code(Coder& coder, Document& document, const SavedDocument* /*type*/)
{
    coder("name", document.name);
    coder("time", document.time);
    coder("path", document.path);
    coder("pages", document.pages);
    coder("words", document.words);
    coder("language", document.language);
}

template <typename T>
BusDictionary encoded(const T& value)
{
    Writer writer;
    code(writer, value, &value);
    return std::move(writer.entries);
}

template <typename T>
std::optional<T> decoded(const BusDictionary& entries)
{
    T value;
    Reader reader{entries};
    code(reader, value, &value);
    if (!reader.isValid) return std::nullopt;
    return value;
}

} // namespace

BusDictionary encode(const PrinterState& state)
{
    return encoded(state);
}

BusDictionary encode(const JobProgress& job)
{
    return encoded(job);
}

BusDictionary encode(const SavedDocument& document)
{
    return encoded(document);
}

std::optional<PrinterState> decodePrinterState(const BusDictionary& properties)
{
    return decoded<PrinterState>(properties);
}

std::optional<JobProgress> decodeJobProgress(const BusDictionary& members)
{
    return decoded<JobProgress>(members);
}

std::optional<SavedDocument> decodeSavedDocument(const BusDictionary& members)
{
    return decoded<SavedDocument>(members);
}

} // namespace korvane::agentInterface

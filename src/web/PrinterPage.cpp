#include "web/PrinterPage.h"

#include "ipp/DocumentFormat.h"
#include "ipp/EverywhereAttributes.h"
#include "ipp/PrinterModel.h"
#include "text/DisplayText.h"
#include "text/Markup.h"

#include <fmt/format.h>

#include <string_view>

namespace korvane {

namespace {

/** As a paragraph's text: no name is longer, and no character of it is markup. */
std::string shown(std::string_view text)
{
    constexpr std::size_t maxCharacters = 200;
    return text::htmlEscape(text::displayLine(text, maxCharacters));
}

constexpr std::string_view style = R"(
:root { color-scheme: light dark; --ink: #1c2733; --soft: #5b6775; --page: #f4f6f9;
        --card: #ffffff; --line: #dde3ea; --ready: #1f8a4c; --working: #b35c00; }
@media (prefers-color-scheme: dark) {
  :root { --ink: #e8edf3; --soft: #9eabba; --page: #11161c; --card: #1a2129; --line: #2d3742;
          --ready: #6fd697; --working: #f2b166; }
}
* { box-sizing: border-box; }
body { margin: 0; padding: 1.5rem 1rem 3rem; background: var(--page); color: var(--ink);
       font: 1rem/1.5 system-ui, sans-serif; }
main { max-width: 40rem; margin: 0 auto; }
header { display: flex; gap: 1.25rem; align-items: center; margin-bottom: 1.5rem; }
header img { width: 6rem; height: 6rem; flex: none; }
h1 { margin: 0; font-size: 1.6rem; line-height: 1.2; overflow-wrap: anywhere; }
h2 { margin: 0 0 .75rem; font-size: 1.1rem; }
section { background: var(--card); border: 1px solid var(--line); border-radius: .75rem;
          padding: 1.25rem; margin-top: 1rem; }
p { margin: 0; }
p + p { margin-top: .6rem; }
.soft { color: var(--soft); overflow-wrap: anywhere; }
.state { margin-top: .4rem; font-weight: 600; }
.state::before { content: ""; display: inline-block; width: .7em; height: .7em;
                 margin-right: .5em; border-radius: 50%; background: currentColor; }
.ready { color: var(--ready); }
.working { color: var(--working); }
dl { margin: 0; }
dt { font-weight: 600; }
dd { margin: 0 0 .75rem; color: var(--soft); overflow-wrap: anywhere; }
dd:last-child { margin-bottom: 0; }
code { font: .9em ui-monospace, monospace; overflow-wrap: anywhere; user-select: all; }
)";

/** How clients print to it, each with what to press. */
constexpr std::pair<std::string_view, std::string_view> instructions[] = {
    {"iPhone, iPad", "Share, then Print, then tap Printer and choose it."},
    {"Android", "Print in the app\u2019s menu, then choose it in the list of printers."},
    {"Mac", "File, then Print; in the list of printers it is under Nearby Printers."},
    {"Windows", "Settings, Bluetooth &amp; devices, Printers &amp; scanners, Add device."},
    {"Chromebook", "Print, then Destination, See more, and choose it."},
    {"Linux", "It is in the print dialog; or make a queue with<br>"
              "<code>lpadmin -p korvane -E -v {uri} -m everywhere</code>"},
};

std::string instructionList(const std::string& uri)
{
    std::string list;
    for (const auto& [client, instruction] : instructions) {
        list += fmt::format("<dt>{}</dt>\n<dd>{}</dd>\n", client,
                            fmt::format(fmt::runtime(instruction), fmt::arg("uri", uri)));
    }
    return list;
}

std::string formatList(PrinterProfile profile)
{
    std::string list;
    for (const std::string& type : supportedMediaTypes(profile))
        list += fmt::format("{}<code>{}</code>", list.empty() ? "" : ", ", shown(type));
    return list;
}

} // namespace

std::string printerPage(const PrinterDescriptor& descriptor, const PrinterStatus& status)
{
    const std::string uri = shown(descriptor.uri);
    return fmt::format(
        R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>{name}</title>
<link rel="icon" href="{smallIcon}">
<style>{style}</style>
</head>
<body>
<main>
<header>
<img src="{icon}" srcset="{largeIcon} 4x" alt="">
<div>
<h1>{name}</h1>
<p class="soft">{model}, on {location}</p>
<p class="state {stateClass}">{state}</p>
</div>
</header>
<section>
<h2>What this is</h2>
<p>A printer that makes PDFs. What you print to it is saved as a PDF file on the computer
<strong>{location}</strong>; no paper comes out. Scans and photographs of text become searchable.</p>
<p class="soft">It is found by itself on this network and needs no driver. This page shows nothing of
anybody’s documents.</p>
</section>
<section>
<h2>How to print to it</h2>
<dl>
{instructions}</dl>
</section>
<section>
<h2>What it takes</h2>
<dl>
<dt>Address</dt>
<dd><code>{uri}</code></dd>
<dt>Formats</dt>
<dd>{formats}</dd>
<dt>Paper</dt>
<dd>Any size up to A1, in color, printed to the edges; PDF pages keep the size that they have.</dd>
</dl>
</section>
</main>
</body>
</html>
)",
        fmt::arg("name", shown(descriptor.name)), fmt::arg("style", style),
        fmt::arg("smallIcon", model::icons[0].path), fmt::arg("icon", model::icons[1].path),
        fmt::arg("largeIcon", model::icons[2].path), fmt::arg("model", model::makeAndModel),
        fmt::arg("location", shown(descriptor.location)),
        fmt::arg("stateClass", status.isProcessing ? "working" : "ready"),
        fmt::arg("state", shown(ipp::stateMessage(status))),
        fmt::arg("instructions", instructionList(uri)), fmt::arg("uri", uri),
        fmt::arg("formats", formatList(descriptor.profile)));
}

} // namespace korvane

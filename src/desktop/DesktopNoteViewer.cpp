#include "desktop/DesktopNoteViewer.h"

#include "desktop/GnoteRemote.h"

#include <utility>

namespace korvane {

void DesktopNoteViewer::show(const std::string& id, const std::string& activationToken,
                             OpeningHandler handler)
{
    if (id.starts_with('/')) return opener_.open(id, activationToken, std::move(handler));
    bus_.call(GnoteRemote::makeCall("DisplayNote", {id}),
              lifetime_.guard([handler = std::move(handler)](const BusReply& reply) {
                  if (!reply) {
                      return handler(
                          failure("Gnote failed at DisplayNote: " + reply.error().description()));
                  }
                  const bool* isShown = busArgument<bool>(*reply, 0);
                  if (isShown != nullptr && *isShown) return handler({});
                  handler(failure(std::string("Gnote does not have the note any more")));
              }));
}

} // namespace korvane

#pragma once

#include "desktop/Opening.h"

#include <string>

namespace korvane {

/** Shows notes to the user. */
class NoteViewer {
public:
    virtual ~NoteViewer() = default;

    /** Shows the note of this id, as NotesApplication gave it. Returns at once. */
    virtual void show(const std::string& id, const std::string& activationToken,
                      OpeningHandler handler) = 0;
};

} // namespace korvane

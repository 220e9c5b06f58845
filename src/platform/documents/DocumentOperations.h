#pragma once

#include "platform/documents/DocumentError.h"
#include "platform/documents/DocumentService.h"
#include "platform/wire/WireReader.h"
#include "platform/wire/WireWriter.h"

#include <cstdint>
#include <string>
#include <vector>

/**
 * The requests on documents between the agent and its workers, and how their parts look on the
 * wire. Each `read` takes back what `write` wrote; the reader has failed when that was not there.
 */
namespace korvane::wire {

/** What a worker is asked for. A request on a document begins with the document, one on a picture
 *  with the picture. Every answer begins with a Status. */
enum class DocumentOperation : std::uint16_t {
    languages = 1,   ///< language to prepare -> names of all
    prepare = 2,     ///< language to prepare ->
    open = 3,        ///< document -> page count
    readPages = 4,   ///< document, first, count -> pages
    layOut = 5,      ///< document, page, resolution, file for the picture -> picture, lines
    turn = 6,        ///< picture, quarter turns, file for the picture -> picture, lines
    recognize = 7,   ///< picture, lines, language -> what they read
    orientation = 8, ///< picture -> orientation
    render = 9,      ///< document, page, resolution, file for the pixels -> width, height
    write = 10,      ///< document, layers, information, output file -> why not, if not
    forget = 11,     ///< -> ; the document and the picture that were worked on last are let go
};

/** Whether the worker could do it; `detail` is for the log. */
struct Status {
    enum class Code : std::uint8_t { done, notReadable, needsPassword, noPage, recognition };
    Code code = Code::done;
    std::string detail;
};

void write(WireWriter& out, const Status& status);
void write(WireWriter& out, const PageInfo& page);
void write(WireWriter& out, const std::vector<PixelBox>& boxes);
void write(WireWriter& out, const RecognizedLine& line);
void write(WireWriter& out, const PageOrientation& orientation);
void write(WireWriter& out, const std::vector<PageTextLayer>& layers);
void write(WireWriter& out, const DocumentInformation& information);

/** The size and resolution of a picture, without its pixels. */
void writeShape(WireWriter& out, const PagePicture& picture);

Status readStatus(WireReader& in);
PageInfo readPageInfo(WireReader& in);
std::vector<PixelBox> readBoxes(WireReader& in);
RecognizedLine readLine(WireReader& in);
PageOrientation readOrientation(WireReader& in);
std::vector<PageTextLayer> readLayers(WireReader& in);
DocumentInformation readInformation(WireReader& in);

/** Fails the reader on a picture without pixels or of more than 128 million. */
PagePicture readShape(WireReader& in);

} // namespace korvane::wire

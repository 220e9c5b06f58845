#pragma once

#include "lib/qpdf/QPDFHeaders.h"

namespace korvane {

/**
 * Reads every object of the document, which QPDF would do when it writes; false as soon as there
 * are more than we take, or more warnings than a document has that was meant to be read. Finding
 * the end of a damaged object may take a search to the end of the file.
 */
bool readObjects(QPDF& pdf);

/** Whether the document was signed, by its author or with usage rights (ISO 32000-1, 12.8). A
 *  signature covers the bytes of the file. Fields that wait to be signed do not count. */
bool isSigned(QPDF& pdf);

/** Whether an object is missing that the cross-reference table or another object names. Viewers
 *  may find it by a repair other than QPDF's. */
bool lacksObjects(QPDF& pdf);

/** Has QPDF copy the streams that the document has now as they are, compressed or not. */
void keepStreams(QPDF& pdf);

} // namespace korvane

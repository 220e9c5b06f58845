#pragma once

#include "lib/qpdf/QPDFHeaders.h"
#include "page/DocumentInformation.h"

namespace korvane {

/**
 * Sets entries of the document information and brings the XMP metadata of the document (ISO
 * 32000-1, 14.3) in step with them. All else that both tell stays, but for the claim to follow a
 * standard such as PDF/A, which may not rely on a viewer's Helvetica. XMP that cannot be read is
 * removed.
 */
void updateMetadata(QPDF& pdf, DocumentInformation information);

} // namespace korvane

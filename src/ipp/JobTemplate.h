#pragma once

#include "ipp/IPPMessage.h"

#include <vector>

namespace korvane::ipp {

/**
 * What IPP Everywhere tells of that which a job may ask for: the defaults and the supported values
 * of its job template attributes (RFC 8011 section 5.2, PWG 5100.14 section 5.4), and what is
 * ready. There is one sheet a page and one copy: a PDF does not get better by having its pages
 * twice.
 */
std::vector<IPPAttribute> jobTemplateAttributes();

/** The same for every sheet that there is, media-col-database: long, and only sent to those who ask
 *  for it by its name. */
IPPAttribute mediaDatabase();

} // namespace korvane::ipp

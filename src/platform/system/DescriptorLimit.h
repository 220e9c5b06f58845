#pragma once

namespace korvane {

/** Allows this process as many open descriptors as it may allow itself, up to 65,536. Sessions
 *  begin with 1024 for the sake of select(2), which nothing here uses. */
void raiseDescriptorLimit();

} // namespace korvane

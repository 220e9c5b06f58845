#pragma once

#include "base/Log.h"

#include <filesystem>
#include <string>

namespace korvane {

/**
 * The UUID by which clients know this printer again, kept in printer-uuid in the support folder.
 * Where there is none, or it cannot be read, a new one is made and kept. What the file holds is
 * used as it is, whatever its form. Every outcome is logged; a UUID that cannot be kept still
 * serves.
 */
std::string loadOrCreatePrinterUUID(const std::filesystem::path& supportDirectory, Log& log);

} // namespace korvane

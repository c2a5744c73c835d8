#pragma once

#include "Arguments.h"

namespace LogglyUpload {

/// Uploads what is ready in the directory, in as many runs as it takes and `arguments` allow, and
/// reports to the user. True if nothing is left, not even by an interrupted upload, and nothing was
/// rejected. Throws
/// `std::invalid_argument` for wrong settings, other exceptions if the directory cannot be used.
bool drain(const Arguments& arguments);

}  // namespace LogglyUpload

#pragma once

#include "Arguments.h"

namespace LogglyUpload {

/// Uploads the ready files of the directory, in as many runs as necessary and allowed by
/// `arguments`, and reports to the user. Returns true if nothing is left and nothing was rejected.
/// Throws `std::invalid_argument` for wrong settings, other exceptions if the directory cannot be
/// used.
bool drain(const Arguments& arguments);

}  // namespace LogglyUpload

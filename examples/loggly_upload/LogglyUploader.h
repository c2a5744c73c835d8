// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include "upload_core/HttpUploader.h"

#include <string>
#include <vector>

namespace LogglyUpload {

using UploadCore::UploadReport;

/// The service, and the settings of the connection.
struct UploadSettings {
    /// Without the part that starts with "/bulk". With http the token travels in clear text.
    std::string url = "https://logs-01.loggly.com";
    /// Letters, digits and dashes.
    std::string token;
    /// Letters, digits, dashes, periods and underscores.
    std::vector<std::string> tags;
    UploadCore::Connection connection;
};

/// Sends staging files to the bulk endpoint of the log service, as HttpUploader describes. Only the
/// status 200 means that a file is delivered.
///
/// Copy this header, its source, and the files of the target `http_uploader` in upload_core into
/// your program.
class LogglyUploader : public UploadCore::HttpUploader {
public:
    explicit LogglyUploader(const UploadSettings& settings);
};

}  // namespace LogglyUpload

#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace LogglyUpload {

/// The destination of files and the limits of a request.
struct UploadSettings {
    /// The URL without the part that starts with "/bulk". With http the token is sent in clear
    /// text.
    std::string url = "https://logs-01.loggly.com";
    /// Letters, digits and dashes.
    std::string token;
    /// Letters, digits, dashes, periods and underscores.
    std::vector<std::string> tags;
    /// PEM certificates to trust instead of the system's. Empty means the system's.
    std::filesystem::path caFile;
    std::chrono::milliseconds connectTimeout = std::chrono::seconds(10);
    /// For the entire request, including the connection.
    std::chrono::milliseconds totalTimeout = std::chrono::seconds(60);
};

/// The results for the offered files.
struct UploadReport {
    std::size_t delivered = 0;
    /// Files that a later run can deliver.
    std::size_t left = 0;
    /// Files that can never be delivered and were moved to "rejected".
    std::size_t rejected = 0;
    /// A sentence for each file that was rejected, and for each that is left for an individual
    /// reason.
    std::vector<std::string> problems;
    /// Once the service has refused the token or the address, the reason as a sentence; empty
    /// before. Nothing is sent after that, so the program should stop.
    std::string refusal;
};

/// Sends staging files to the bulk endpoint of the log service with libcurl. Copy this header and
/// its source into your program; they need nothing else. libcurl must be 7.88 or later: with older
/// versions a broken TLS connection can raise SIGPIPE.
///
/// Each file is one POST request with the file's bytes as the body, and the response decides: 200
/// means delivered; 400 and 413 can never succeed, so the file is moved into the directory
/// "rejected" next to it, where it replaces nothing; 401, 403 and 404 refuse all files; any other
/// response, or none, leaves the file for a later run. An empty file counts as delivered without a
/// request. Certificates are verified, and redirects are not followed. The proxy comes from the
/// environment, as is libcurl's default.
///
/// The token never appears in any returned text.
///
/// Not promised: the service cannot detect a repeated request, so a lost response means a second
/// copy of the entire file.
///
/// Errors: the constructor throws `std::invalid_argument` with a sentence for the user.
///
/// Threads: a LogglyUploader and its callables may be used from any thread. Requests do not wait
/// for each other.
class LogglyUploader {
public:
    explicit LogglyUploader(const UploadSettings& settings);

    /// For LogglySink::setUploadFile and LogglySink::directUploadLogEntry. Never throws. Shares its
    /// state, so it may outlive this object.
    std::function<bool(const std::filesystem::path&)> callable() const;

    /// Returns the counts and problems since the last call, and the refusal, which is permanent.
    /// After LogglySink::waitForUpload it covers the complete run.
    UploadReport takeReport();

private:
    class State;

    std::shared_ptr<State> state_;
};

}  // namespace LogglyUpload

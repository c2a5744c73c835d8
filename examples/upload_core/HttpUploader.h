// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace UploadCore {

/// The trusted certificates, and how long a request may take.
struct Connection {
    /// Certificates in PEM form that are trusted instead of the system's. Empty: the system's.
    std::filesystem::path caFile;
    std::chrono::milliseconds connectTimeout = std::chrono::seconds(10);
    /// For the whole request, the connection included.
    std::chrono::milliseconds totalTimeout = std::chrono::seconds(60);
};

/// The settings of a request.
struct HttpSettings {
    /// Sent as it is, with its query, so it must be percent-encoded. With http everything travels
    /// in clear text.
    std::string url;
    /// Each in the form "Name: value". One of them should be the content type.
    std::vector<std::string> headers;
    /// A file is delivered if the status is between 200 and this one.
    long lastSuccess = 299;
    /// Writes the body that is sent for `file` to `body`. Empty: the bytes of the file.
    std::function<void(std::FILE* file, std::FILE* body)> encode;
    Connection connection;
};

/// The results of the files that were offered.
struct UploadReport {
    std::size_t delivered = 0;
    /// Files that a later run can deliver.
    std::size_t left = 0;
    /// Files that the service has rejected and that are now in the directory "rejected".
    std::size_t rejected = 0;
    /// Files that the service has rejected before it accepted any. They have not been moved.
    std::size_t doubted = 0;
    /// A sentence for each file that was rejected or doubted, or is left for a reason other than
    /// `refusal`.
    std::vector<std::string> problems;
    /// True once the service has accepted a file.
    bool hasAccepted = false;
    /// A sentence that says why, once the service has refused the token or the address; empty until
    /// then. Nothing is sent after that, so the program should stop.
    std::string refusal;
};

/// Sends staging files to an HTTP service over libcurl. libcurl must be 7.88 or later: with an
/// older one a connection that breaks under TLS can raise SIGPIPE.
///
/// A file is one POST request with the file's bytes as the body, and the answer decides:
/// - 200 to `lastSuccess`: the file is delivered.
/// - 400 and 413: the service rejects the file, which moves into the directory "rejected" next to
///   it and replaces nothing there. But a wrong URL can give this answer to every file. So until
///   the service has accepted a file of this object, a rejected file stays for a later run.
/// - 401, 403 and 404: the service refuses everything.
/// - Any other answer, and none: the file stays for a later run.
///
/// An empty file is delivered without a request. Certificates are checked, and redirects are not
/// followed. A proxy is taken from the environment, as libcurl does by default. A file is read in
/// pieces, so a large file takes no more memory. An encoded body is first written to a temporary
/// file, because not every service takes a body of unknown length.
///
/// No text that this class returns or throws contains the URL or a header.
///
/// Not promised: HTTP has no key that identifies a repeated request. If a reply is lost on the way,
/// the whole file arrives a second time.
///
/// Errors: the constructor throws `std::invalid_argument` with a sentence for the user.
///
/// Threads: an HttpUploader and its callables may be used from any thread. Requests do not wait for
/// one another.
class HttpUploader {
public:
    explicit HttpUploader(const HttpSettings& settings);

    /// For LogglySink::setUploadFile and LogglySink::directUploadLogEntry. Never throws, and may
    /// outlive this object.
    std::function<bool(const std::filesystem::path&)> callable() const;

    /// Returns the counts and problems since the last call; hasAccepted and the refusal are never
    /// reset. After LogglySink::waitForUpload the report covers the whole run.
    UploadReport takeReport();

private:
    class State;

    std::shared_ptr<State> state_;
};

}  // namespace UploadCore

// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "HttpUploader.h"

#include "HttpRequest.h"
#include "StagedFile.h"

#include <algorithm>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace UploadCore {
namespace {

using std::filesystem::path;

void require(bool condition, const std::string& complaint) {
    if (!condition) throw std::invalid_argument(complaint);
}

bool isBlankOrControl(char character) {
    return (character >= 0 && character <= ' ') || character == '\x7F';
}

void checkUrl(const std::string& url) {
    require(url.rfind("https://", 0) == 0 || url.rfind("http://", 0) == 0,
            "The URL must start with https:// or http://.");
    require(std::none_of(url.begin(), url.end(), isBlankOrControl),
            "The URL must be percent-encoded, without blanks.");
    require(url.find('#') == std::string::npos, "The URL must not have a fragment.");
    const std::size_t host = url.find("//") + 2;
    require(url.substr(host, url.find_first_of("/?", host) - host).find('@') == std::string::npos,
            "The URL must not hold a user or a password.");
}

/// The complaint does not quote the line, which may hold a token.
void checkHeader(const std::string& line) {
    const std::size_t colon = line.find(':');
    const bool isText = std::none_of(line.begin(), line.end(), [](char character) {
        return isBlankOrControl(character) && character != ' ';
    });
    // libcurl drops a header without a value.
    require(isText && colon != std::string::npos && colon > 0 && colon < line.find(' ') &&
                line.find_first_not_of(' ', colon + 1) != std::string::npos,
            "A header must have the form \"Name: value\".");
}

void checkSettings(const HttpSettings& settings) {
    checkUrl(settings.url);
    for (const std::string& line : settings.headers) checkHeader(line);
    const Connection& connection = settings.connection;
    std::error_code error;
    require(connection.caFile.empty() || std::filesystem::is_regular_file(connection.caFile, error),
            "There is no file " + connection.caFile.string() + " with certificates.");
    // For libcurl 0 means no limit.
    require(connection.connectTimeout.count() > 0 && connection.totalTimeout.count() > 0,
            "A time-out must be longer than 0.");
}

Body encoded(Body original, const HttpSettings& settings) {
    Body body;
    body.file.reset(std::tmpfile());
    if (!body.file) throw std::runtime_error("there is no temporary file for the request");
    settings.encode(original.file.get(), body.file.get());
    const long size = std::fflush(body.file.get()) == 0 ? std::ftell(body.file.get()) : -1;
    if (size < 0) throw std::runtime_error("the temporary file of the request cannot be written");
    body.left = static_cast<std::uint64_t>(size);
    std::rewind(body.file.get());
    return body;
}

Body openBody(const path& file) {
    Body body;
    body.left = std::filesystem::file_size(file);  // Throws if this is not a file.
    body.file.reset(std::fopen(file.string().c_str(), "rb"));
    if (!body.file) throw std::runtime_error("the file cannot be read");
    return body;
}

}  // namespace

class HttpUploader::State {
public:
    explicit State(const HttpSettings& settings) : settings_(settings) {}

    bool deliver(const path& file) noexcept;
    UploadReport takeReport();

private:
    long post(Body body) const;
    bool isRefused();
    bool hasAccepted();
    bool offer(const path& file);
    void accept();
    void reject(const path& file, const std::string& answer);
    void refuse(long status);
    void count(std::size_t UploadReport::*counter, const std::string& problem = {});

    const HttpSettings settings_;
    std::mutex mutex_;
    UploadReport report_;
};

bool HttpUploader::State::deliver(const path& file) noexcept {
    try {
        if (!isRefused()) return offer(file);
        count(&UploadReport::left);
    } catch (const std::exception& error) {
        count(&UploadReport::left, stagedName(file).string() + " is left: " + error.what() + '.');
    }
    return false;
}

bool HttpUploader::State::offer(const path& file) {
    Body body = openBody(file);
    if (body.left == 0) {
        count(&UploadReport::delivered);
        return true;
    }
    const long status = post(std::move(body));
    if (status >= 200 && status <= settings_.lastSuccess) {
        accept();
        return true;
    }
    const std::string answer = "the service answers with status " + std::to_string(status);
    switch (status) {
    case 400:
    case 413:
        reject(file, answer);
        return false;
    case 401:
    case 403:
    case 404:
        refuse(status);
        return false;
    default:
        throw std::runtime_error(answer);
    }
}

long HttpUploader::State::post(Body body) const {
    if (settings_.encode) body = encoded(std::move(body), settings_);
    const Connection& connection = settings_.connection;
    HttpRequest request;
    for (const std::string& line : settings_.headers) request.addHeader(line);
    request.set(CURLOPT_URL, settings_.url.c_str());
    request.set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(connection.connectTimeout.count()));
    request.set(CURLOPT_TIMEOUT_MS, static_cast<long>(connection.totalTimeout.count()));
    if (!connection.caFile.empty()) {
        request.set(CURLOPT_CAINFO, connection.caFile.string().c_str());
        request.set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));
    }
    return request.post(body);
}

bool HttpUploader::State::isRefused() {
    const std::lock_guard<std::mutex> guard(mutex_);
    return !report_.refusal.empty();
}

bool HttpUploader::State::hasAccepted() {
    const std::lock_guard<std::mutex> guard(mutex_);
    return report_.hasAccepted;
}

void HttpUploader::State::accept() {
    const std::lock_guard<std::mutex> guard(mutex_);
    ++report_.delivered;
    report_.hasAccepted = true;
}

void HttpUploader::State::reject(const path& file, const std::string& answer) {
    const std::string name = stagedName(file).string();
    if (hasAccepted()) {
        const path target = moveAside(file);
        count(&UploadReport::rejected,
              name + " is rejected: " + answer + ". It is now " + target.string() + '.');
    } else {
        count(&UploadReport::doubted,
              name + " is left: " + answer + " and has accepted no file yet.");
    }
}

void HttpUploader::State::refuse(long status) {
    const std::lock_guard<std::mutex> guard(mutex_);
    ++report_.left;
    report_.refusal =
        "The service refuses the token or the address with status " + std::to_string(status) + '.';
}

void HttpUploader::State::count(std::size_t UploadReport::*counter, const std::string& problem) {
    const std::lock_guard<std::mutex> guard(mutex_);
    ++(report_.*counter);
    if (!problem.empty()) report_.problems.push_back(problem);
}

UploadReport HttpUploader::State::takeReport() {
    const std::lock_guard<std::mutex> guard(mutex_);
    UploadReport next;
    next.hasAccepted = report_.hasAccepted;
    next.refusal = report_.refusal;
    return std::exchange(report_, next);
}

HttpUploader::HttpUploader(const HttpSettings& settings) {
    checkSettings(settings);
    static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
    requireDone(initialised);
    state_ = std::make_shared<State>(settings);
}

std::function<bool(const path&)> HttpUploader::callable() const {
    return [state = state_](const path& file) { return state->deliver(file); };
}

UploadReport HttpUploader::takeReport() {
    return state_->takeReport();
}

}  // namespace UploadCore

#include "LogglyUploader.h"

#include <curl/curl.h>

#include <algorithm>
#include <fstream>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

namespace LogglyUpload {
namespace {

using std::filesystem::path;

constexpr std::string_view LETTERS_AND_DIGITS =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";

bool consistsOf(const std::string& text, std::string_view others) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [others](char character) {
        return LETTERS_AND_DIGITS.find(character) != std::string_view::npos ||
               others.find(character) != std::string_view::npos;
    });
}

void require(bool condition, const std::string& complaint) {
    if (!condition) throw std::invalid_argument(complaint);
}

void checkSettings(const UploadSettings& settings) {
    const std::string& url = settings.url;
    require(consistsOf(settings.token, "-"),
            "The token must consist of letters, digits and dashes.");
    // Checked before anything that quotes the URL, which is not secret.
    require(url.find(settings.token) == std::string::npos, "The URL must not hold the token.");
    require(url.rfind("https://", 0) == 0 || url.rfind("http://", 0) == 0,
            "The URL must start with https:// or http://.");
    require(url.find_first_of("?#@ \t\r\n") == std::string::npos,
            "The URL must be that of a server, without a user, a query or a fragment.");
    for (const std::string& tag : settings.tags) {
        require(consistsOf(tag, "-._"), "The tag \"" + tag +
                                            "\" must consist of letters, digits, dashes, periods "
                                            "and underscores.");
    }
    std::error_code error;
    require(settings.caFile.empty() || std::filesystem::is_regular_file(settings.caFile, error),
            "There is no file " + settings.caFile.string() + " with certificates.");
    // In libcurl, 0 means no limit.
    require(settings.connectTimeout.count() > 0 && settings.totalTimeout.count() > 0,
            "A time-out must be longer than 0.");
}

std::string makeEndpoint(const UploadSettings& settings) {
    std::string endpoint = settings.url;
    while (endpoint.back() == '/') endpoint.pop_back();
    endpoint += "/bulk/" + settings.token + '/';
    if (settings.tags.empty()) return endpoint;
    endpoint += "tag/";
    for (const std::string& tag : settings.tags) endpoint += tag + ',';
    endpoint.back() = '/';
    return endpoint;
}

/// The texts of libcurl's error codes are fixed. Its detailed error texts could quote the address,
/// which contains the token.
void requireDone(CURLcode code) {
    if (code != CURLE_OK) throw std::runtime_error(curl_easy_strerror(code));
}

std::size_t discard(const char*, std::size_t size, std::size_t count, void*) {
    return size * count;
}

/// One POST request on a new connection: on a reused one libcurl would repeat a request after a
/// lost connection, and could deliver twice.
class Request {
public:
    Request() : handle_(curl_easy_init(), curl_easy_cleanup) {
        addHeader("Content-Type: text/plain");
        addHeader("Expect:");  // Sends the body immediately, without waiting for 100 Continue.
        set(CURLOPT_HTTPHEADER, headers_.get());
        set(CURLOPT_PROTOCOLS_STR, "http,https");
        set(CURLOPT_FOLLOWLOCATION, 0L);
        set(CURLOPT_NOSIGNAL, 1L);
        set(CURLOPT_SSL_VERIFYPEER, 1L);
        set(CURLOPT_SSL_VERIFYHOST, 2L);
        set(CURLOPT_WRITEFUNCTION, discard);
    }

    template <class Value>
    void set(CURLoption option, Value value) {
        requireDone(curl_easy_setopt(handle_.get(), option, value));
    }

    /// Returns the status code of the response. Throws an exception with the reason if there is
    /// none.
    long perform() {
        const CURLcode code = curl_easy_perform(handle_.get());
        long status = 0;
        curl_easy_getinfo(handle_.get(), CURLINFO_RESPONSE_CODE, &status);
        // A server may reject a body that it has not read, and the connection then breaks.
        constexpr long FIRST_ERROR = 400;
        if (status < FIRST_ERROR) requireDone(code);
        return status;
    }

private:
    void addHeader(const char* line) {
        curl_slist* const longer = curl_slist_append(headers_.get(), line);
        if (longer == nullptr) throw std::bad_alloc();
        static_cast<void>(headers_.release());  // The new list contains the old one.
        headers_.reset(longer);
    }

    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle_;
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers_ = {nullptr,
                                                                            curl_slist_free_all};
};

std::string readFile(const path& file) {
    // The size is read first: it throws if this is not a file, and distinguishes a truncated file
    // from an empty one.
    std::string bytes(std::filesystem::file_size(file), '\0');
    std::ifstream stream(file, std::ios::binary);
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!stream) throw std::runtime_error("the file cannot be read");
    return bytes;
}

/// The name of the file before the upload run renamed it.
path stagedName(const path& file) {
    path name = file.filename();
    if (name.extension() == ".tmp") name.replace_extension();
    return name;
}

/// A hard link never replaces an existing file, unlike a rename, which is used only if the file
/// system has no links.
void moveWithoutReplacing(const path& from, const path& to, std::error_code& error) {
    std::filesystem::create_hard_link(from, to, error);
    if (!error) {
        std::filesystem::remove(from, error);
    } else if (error != std::errc::file_exists) {
        std::error_code ignored;
        const bool isTaken = std::filesystem::exists(std::filesystem::symlink_status(to, ignored));
        error = std::make_error_code(std::errc::file_exists);
        if (!isTaken) std::filesystem::rename(from, to, error);
    }
}

/// Moves the file into the directory "rejected" next to it and returns its new path.
path moveAside(const path& file) {
    const path directory = file.parent_path() / "rejected";
    std::filesystem::create_directories(directory);
    const path name = stagedName(file);
    path target = directory / name;
    std::error_code error;
    moveWithoutReplacing(file, target, error);
    for (int number = 1; error == std::errc::file_exists; ++number) {
        target = directory / name.stem();
        target += '-' + std::to_string(number);
        target += name.extension();
        moveWithoutReplacing(file, target, error);
    }
    if (error) throw std::filesystem::filesystem_error("cannot be moved away", target, error);
    return target;
}

}  // namespace

class LogglyUploader::State {
public:
    explicit State(const UploadSettings& settings)
        : settings_(settings), endpoint_(makeEndpoint(settings)) {}

    bool deliver(const path& file) noexcept;
    UploadReport takeReport();

private:
    long post(const std::string& body) const;
    bool isRefused();
    bool offer(const path& file);
    void refuse(long status);
    void count(std::size_t UploadReport::*counter, const std::string& problem = {});

    const UploadSettings settings_;
    const std::string endpoint_;
    std::mutex mutex_;
    UploadReport report_;
};

bool LogglyUploader::State::deliver(const path& file) noexcept {
    try {
        if (!isRefused()) return offer(file);
        count(&UploadReport::left);
    } catch (const std::exception& error) {
        count(&UploadReport::left, stagedName(file).string() + " is left: " + error.what() + '.');
    }
    return false;
}

bool LogglyUploader::State::offer(const path& file) {
    const std::string body = readFile(file);
    const long status = body.empty() ? 200 : post(body);
    const std::string answer = "the service answers with status " + std::to_string(status);
    switch (status) {
    case 200:
        count(&UploadReport::delivered);
        return true;
    case 400:
    case 413:
        count(&UploadReport::rejected, stagedName(file).string() + " is rejected: " + answer +
                                           ". It is now " + moveAside(file).string() + '.');
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

long LogglyUploader::State::post(const std::string& body) const {
    Request request;
    request.set(CURLOPT_URL, endpoint_.c_str());
    request.set(CURLOPT_POST, 1L);
    request.set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    request.set(CURLOPT_POSTFIELDS, body.data());
    request.set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(settings_.connectTimeout.count()));
    request.set(CURLOPT_TIMEOUT_MS, static_cast<long>(settings_.totalTimeout.count()));
    if (!settings_.caFile.empty()) {
        request.set(CURLOPT_CAINFO, settings_.caFile.string().c_str());
        request.set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));
    }
    return request.perform();
}

bool LogglyUploader::State::isRefused() {
    const std::lock_guard<std::mutex> guard(mutex_);
    return !report_.refusal.empty();
}

void LogglyUploader::State::refuse(long status) {
    const std::lock_guard<std::mutex> guard(mutex_);
    ++report_.left;
    report_.refusal =
        "The service refuses the token or the address with status " + std::to_string(status) + '.';
}

void LogglyUploader::State::count(std::size_t UploadReport::*counter, const std::string& problem) {
    const std::lock_guard<std::mutex> guard(mutex_);
    ++(report_.*counter);
    if (!problem.empty()) report_.problems.push_back(problem);
}

UploadReport LogglyUploader::State::takeReport() {
    const std::lock_guard<std::mutex> guard(mutex_);
    UploadReport next;
    next.refusal = report_.refusal;
    return std::exchange(report_, next);
}

LogglyUploader::LogglyUploader(const UploadSettings& settings) {
    checkSettings(settings);
    static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
    requireDone(initialised);
    state_ = std::make_shared<State>(settings);
}

std::function<bool(const path&)> LogglyUploader::callable() const {
    return [state = state_](const path& file) { return state->deliver(file); };
}

UploadReport LogglyUploader::takeReport() {
    return state_->takeReport();
}

}  // namespace LogglyUpload

// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <curl/curl.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace UploadCore {

struct CloseFile {
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};

/// The body of a request: the next `left` bytes of `file`.
struct Body {
    std::unique_ptr<std::FILE, CloseFile> file;
    std::uint64_t left = 0;
};

/// Throws if the code is an error.
void requireDone(CURLcode code);

/// One POST request on a connection of its own. On a reused one, libcurl would repeat a request
/// whose connection is lost, and could deliver twice.
class HttpRequest {
public:
    HttpRequest();

    template <class Value>
    void set(CURLoption option, Value value) {
        requireDone(curl_easy_setopt(handle_.get(), option, value));
    }

    /// In the form "Name: value".
    void addHeader(const std::string& line);

    /// Returns the status of the answer. If there is none, throws an exception that says why.
    long post(Body& body);

private:
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle_;
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers_ = {nullptr,
                                                                            curl_slist_free_all};
};

}  // namespace UploadCore

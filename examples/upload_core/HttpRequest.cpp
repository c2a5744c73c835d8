// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "HttpRequest.h"

#include <algorithm>
#include <new>
#include <stdexcept>

namespace UploadCore {
namespace {

std::size_t discard(const char*, std::size_t size, std::size_t count, void*) {
    return size * count;
}

/// A file that ends early must not pass for a complete body.
std::size_t readBody(char* target, std::size_t size, std::size_t count, void* source) {
    Body& body = *static_cast<Body*>(source);
    const auto wanted = (std::min)(static_cast<std::uint64_t>(size) * count, body.left);
    const auto read = std::fread(target, 1, static_cast<std::size_t>(wanted), body.file.get());
    body.left -= read;
    return read < wanted ? std::size_t(CURL_READFUNC_ABORT) : read;
}

}  // namespace

/// The texts of libcurl's codes are fixed. Its longer error texts could quote the address, and with
/// it a token.
void requireDone(CURLcode code) {
    if (code == CURLE_ABORTED_BY_CALLBACK) throw std::runtime_error("the file cannot be read");
    if (code != CURLE_OK) throw std::runtime_error(curl_easy_strerror(code));
}

HttpRequest::HttpRequest() : handle_(curl_easy_init(), curl_easy_cleanup) {
    addHeader("Expect:");  // Sends the body at once, without asking first.
    set(CURLOPT_POST, 1L);
    set(CURLOPT_PATH_AS_IS, 1L);
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_FOLLOWLOCATION, 0L);
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_SSL_VERIFYPEER, 1L);
    set(CURLOPT_SSL_VERIFYHOST, 2L);
    set(CURLOPT_READFUNCTION, readBody);
    set(CURLOPT_WRITEFUNCTION, discard);
}

void HttpRequest::addHeader(const std::string& line) {
    curl_slist* const longer = curl_slist_append(headers_.get(), line.c_str());
    if (longer == nullptr) throw std::bad_alloc();
    static_cast<void>(headers_.release());  // It is the longer list now, or was none.
    headers_.reset(longer);
}

long HttpRequest::post(Body& body) {
    set(CURLOPT_HTTPHEADER, headers_.get());
    set(CURLOPT_READDATA, &body);
    set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.left));
    const CURLcode code = curl_easy_perform(handle_.get());
    long status = 0;
    curl_easy_getinfo(handle_.get(), CURLINFO_RESPONSE_CODE, &status);
    // A server may refuse a body that it has not read, and the connection then breaks.
    constexpr long FIRST_ERROR = 400;
    if (status < FIRST_ERROR) requireDone(code);
    return status;
}

}  // namespace UploadCore

// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "LogglyUploader.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

namespace LogglyUpload {
namespace {

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
    // Before anything that quotes the URL, which is public.
    require(url.find(settings.token) == std::string::npos, "The URL must not hold the token.");
    require(url.find_first_of("?#@ \t\r\n") == std::string::npos,
            "The URL must be that of a server, without a user, a query or a fragment.");
    for (const std::string& tag : settings.tags) {
        require(consistsOf(tag, "-._"), "The tag \"" + tag +
                                            "\" must consist of letters, digits, dashes, periods "
                                            "and underscores.");
    }
}

std::string makeEndpoint(const UploadSettings& settings) {
    std::string endpoint = settings.url;
    while (!endpoint.empty() && endpoint.back() == '/') endpoint.pop_back();
    endpoint += "/bulk/" + settings.token + '/';
    if (settings.tags.empty()) return endpoint;
    endpoint += "tag/";
    for (const std::string& tag : settings.tags) endpoint += tag + ',';
    endpoint.back() = '/';
    return endpoint;
}

UploadCore::HttpSettings httpSettings(const UploadSettings& settings) {
    checkSettings(settings);
    UploadCore::HttpSettings http;
    http.url = makeEndpoint(settings);
    http.headers = {"Content-Type: text/plain"};
    http.lastSuccess = 200;
    http.connection = settings.connection;
    return http;
}

}  // namespace

LogglyUploader::LogglyUploader(const UploadSettings& settings)
    : HttpUploader(httpSettings(settings)) {}

}  // namespace LogglyUpload

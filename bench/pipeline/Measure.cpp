// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "pipeline/Measure.h"

#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <numeric>
#include <stdexcept>

namespace Bench {
namespace {

double toNanoseconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_usec) * 1e3;
}

}  // namespace

Report& Report::add(const std::string& key, const std::string& value) {
    text_ += (text_.empty() ? "{\"" : ",\"") + key + "\":\"" + value + '"';
    return *this;
}

Report& Report::add(const std::string& key, double value) {
    text_ += (text_.empty() ? "{\"" : ",\"") + key + "\":" + std::to_string(value);
    return *this;
}

Report& Report::add(const std::string& key, Times times) {
    std::sort(times.begin(), times.end());
    const auto count = static_cast<double>(times.size());
    const auto at = [&](double share) {
        return static_cast<double>(times[static_cast<std::size_t>(share * (count - 1))]);
    };
    const double sum = std::accumulate(times.begin(), times.end(), 0.0);
    add(key + "_mean", sum / count).add(key + "_p50", at(0.5)).add(key + "_p99", at(0.99));
    return add(key + "_p999", at(0.999)).add(key + "_max", at(1));
}

void Report::print() const {
    std::puts((text_ + '}').c_str());
}

double cpuTime() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return toNanoseconds(usage.ru_utime) + toNanoseconds(usage.ru_stime);
}

std::size_t heapInUse() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

std::size_t countLines(const std::filesystem::path& file) {
    std::ifstream stream(file);
    std::string line;
    std::size_t lines = 0;
    while (std::getline(stream, line)) {
        ++lines;
        if (line.size() < 2 || line.front() != '{' || line.back() != '}') {
            throw std::runtime_error("Line " + std::to_string(lines) + " is not an entry: " + line);
        }
    }
    return lines;
}

}  // namespace Bench

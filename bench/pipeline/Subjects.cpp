// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "pipeline/Subject.h"

#include <stdexcept>

namespace Bench {

std::unique_ptr<Subject> makeSubject(const std::string& name, const Setup& setup) {
    std::unique_ptr<Subject> subject = makeKorvel(name, setup);
#ifdef BENCH_SPDLOG
    if (subject == nullptr) subject = makeSpdlog(name, setup);
#endif
#ifdef BENCH_BOOST
    if (subject == nullptr) subject = makeBoost(name, setup);
#endif
    if (subject == nullptr) throw std::invalid_argument("There is no subject " + name + ".");
    return subject;
}

std::string subjectNames() {
    std::string names = "korvel-list korvel-keys";
#ifdef BENCH_SPDLOG
    names += " spdlog-nlohmann-list spdlog-nlohmann-keys spdlog-fmt";
#endif
#ifdef BENCH_BOOST
    names += " boost-log";
#endif
    return names;
}

}  // namespace Bench

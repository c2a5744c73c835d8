// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace Bench {

/// The logging interface of one thread.
class Producer {
public:
    Producer() = default;
    Producer(const Producer&) = delete;
    Producer& operator=(const Producer&) = delete;
    virtual ~Producer() = default;

    /// Builds the entry of request `number` and logs it.
    virtual void log(unsigned number) = 0;
};

/// A logger with its queue, its worker thread and its file.
class Subject {
public:
    Subject() = default;
    Subject(const Subject&) = delete;
    Subject& operator=(const Subject&) = delete;
    virtual ~Subject() = default;

    virtual std::unique_ptr<Producer> makeProducer() = 0;

    /// Lets the worker finish and calls `reached` when the last entry is in the file. Nothing may
    /// be logged afterwards.
    virtual void drain(const std::function<void()>& reached) = 0;
};

struct Setup {
    std::filesystem::path file;
    /// The total number of entries, for a bounded queue.
    std::size_t entries = 0;
    /// If true, the worker delivers nothing and every entry stays in the queue.
    bool held = false;
};

/// Each returns null if `name` belongs to another library.
std::unique_ptr<Subject> makeKorvel(const std::string& name, const Setup& setup);
std::unique_ptr<Subject> makeSpdlog(const std::string& name, const Setup& setup);
std::unique_ptr<Subject> makeBoost(const std::string& name, const Setup& setup);

/// Throws `std::invalid_argument` for a name unknown to this build.
std::unique_ptr<Subject> makeSubject(const std::string& name, const Setup& setup);

/// The names known to this build, separated by spaces.
std::string subjectNames();

}  // namespace Bench

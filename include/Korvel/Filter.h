// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Export.h>
#include <Korvel/Sink.h>

#include <functional>
#include <memory>

namespace Korvel {

/// A Sink that forwards to another Sink only the entries that a predicate accepts.
///
/// The entry is not copied, and flush is always forwarded. A filter with an empty target drops what
/// its predicate accepts, and its flush does nothing.
///
/// Errors: append throws `std::bad_function_call` if the predicate is empty. Exceptions from the
/// predicate and the target propagate unchanged; on the worker thread of a SinkHandler they end
/// delivery to all of its sinks.
///
/// Threads: takes no lock. The predicate runs on the thread that calls append, concurrently if
/// append is called concurrently.
///
/// Ownership: shares the target; the destructor does not flush it.
class KORVEL_API Filter : public Sink {
public:
    /// Forwards to `target` the entries for which `predicate` returns true.
    Filter(std::shared_ptr<Sink> target, std::function<bool(const Message&)> predicate);
    ~Filter() override;

    void flush() override;
    void append(const Message& message) override;

private:
    std::shared_ptr<Sink> target_;
    std::function<bool(const Message&)> predicate_;
};

}  // namespace Korvel

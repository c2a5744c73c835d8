#pragma once

#include <Korvel/Export.h>
#include <Korvel/Sink.h>

#include <functional>
#include <memory>

namespace Korvel {

/// A Sink that hands on to another Sink only the entries that a predicate accepts.
///
/// The entry is not copied, and flush is always forwarded. A filter with an empty target drops what
/// its predicate accepts, and its flush does nothing.
///
/// Errors: append throws `std::bad_function_call` if the predicate is empty. Exceptions of the
/// predicate and of the target pass out unchanged; on the worker thread of a SinkHandler they end
/// delivery to all of its sinks.
///
/// Threads: no lock. The predicate runs on the thread that calls append, and concurrently if append
/// is called so.
///
/// Ownership: shares the target and does not flush it at its end.
class KORVEL_API Filter : public Sink {
public:
    Filter(std::shared_ptr<Sink> target, std::function<bool(const Message&)> predicate);
    ~Filter() override;

    void flush() override;
    void append(const Message& message) override;

private:
    std::shared_ptr<Sink> target_;
    std::function<bool(const Message&)> predicate_;
};

}  // namespace Korvel

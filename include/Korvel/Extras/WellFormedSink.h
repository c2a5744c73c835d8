#pragma once

#include <Korvel/Extras/Export.h>
#include <Korvel/Sink.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace Korvel::Extras {

/// How a WellFormedSink repairs.
struct WellFormedSinkOptions {
    /// How many containers may stand inside each other, the entry included; at least 1. Each deeper
    /// one becomes the text "…". Readers of JSON give up too: jq 1.6 below 256 levels, Python 3.11
    /// below about 900.
    std::size_t maxDepth = 200;
    /// A key that is set to true in each entry that was repaired and is a Map. It replaces a value
    /// that is already there. Empty: entries are not marked.
    std::wstring mark;
};

/// What a WellFormedSink has done so far.
struct WellFormedSinkState {
    /// Entries that were not forwarded as they came.
    std::uint64_t repairedEntries = 0;
    /// Keys that got a number because another key had the same text.
    std::uint64_t numberedKeys = 0;
    /// Containers that became "…" because they were too deep.
    std::uint64_t cutContainers = 0;
};

/// A Sink that forwards every entry to another Sink in a form that any JSON reader accepts.
///
/// In values and keys at any depth, each lone surrogate and each element of wide text above
/// U+10FFFF becomes U+FFFD. An infinity or a NaN becomes Null: as a text it would change the type
/// of a field. The line that FileSink then writes is RFC 8259 JSON in well-formed UTF-8, and
/// rendering does not throw "bad conversion".
///
/// Two keys of a Map can become the same key. Then both values stay: a key that had to be repaired
/// gets `_1`, `_2` and so on at its end, in the order of the original keys. A key that was correct
/// never changes.
///
/// An entry without a fault is forwarded itself. It is only looked at, up to the end or the first
/// fault, without an allocation unless a text exceeds what `std::string` stores in itself or
/// containers are more than 16 deep. Only an entry with a fault is copied.
///
/// Not promised: a global C++ locale whose numbers are not JSON, such as 1,5 for 1.5, still writes
/// those. A reader that distinguishes less than JSON, such as one that rejects NUL or U+FFFE, gets
/// them unchanged.
///
/// Errors: exceptions from the target propagate unchanged, so install GuardedSink around this sink.
/// append throws `std::bad_alloc` if there is no memory for the copy. An empty target drops every
/// entry.
///
/// Threads: takes no lock. The target is called on the thread that calls append, concurrently if
/// append is called concurrently. state may be called from any thread.
///
/// Ownership: shares the target; the destructor does not flush it.
class KORVEL_EXTRAS_API WellFormedSink : public Sink {
public:
    explicit WellFormedSink(std::shared_ptr<Sink> target, WellFormedSinkOptions options = {});
    ~WellFormedSink() override;

    void flush() override;
    void append(const Message& message) override;

    /// The counts since construction. They change one by one, while an entry is on its way.
    WellFormedSinkState state() const noexcept;

private:
    Message repair(const Message& message);

    const std::shared_ptr<Sink> target_;
    WellFormedSinkOptions options_;
    std::atomic<std::uint64_t> repairedEntries_ = 0;
    std::atomic<std::uint64_t> numberedKeys_ = 0;
    std::atomic<std::uint64_t> cutContainers_ = 0;
};

}  // namespace Korvel::Extras

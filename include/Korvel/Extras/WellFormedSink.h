// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Extras/Export.h>
#include <Korvel/Sink.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace Korvel::Extras {

/// The settings of a WellFormedSink.
struct WellFormedSinkOptions {
    /// How deep containers may be nested, the entry included; at least 1. Each deeper one becomes
    /// the text "…". Readers of JSON have limits too: jq 1.6 reads 256 levels, Python 3.11 just
    /// under 1,000.
    std::size_t maxDepth = 200;
    /// A key that is set to true in each entry that was repaired and is a Map. It replaces a value
    /// that is already there. Empty: entries are not marked.
    std::wstring mark;
};

/// What a WellFormedSink has done so far.
struct WellFormedSinkState {
    /// Entries that were changed before they were forwarded.
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
/// Repairs can make two keys of a Map equal. Then both values stay: `_1`, `_2` and so on are
/// appended to the repaired keys, in the order of the original keys. A correct key never changes.
///
/// An entry without a fault is forwarded itself, not a copy. The check allocates only for a text
/// that `std::string` does not store in itself, and for containers more than 16 deep. It costs at
/// least as much as rendering the entry, because Message returns text only as a copy.
///
/// Not promised: under a global C++ locale whose numbers are not JSON, such as 1,5 for 1.5, doubles
/// are still written that way. Characters that JSON allows and some readers reject, such as NUL or
/// U+FFFE, are forwarded unchanged.
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
    /// Repairs the entries for `target`; a null one drops every entry.
    explicit WellFormedSink(std::shared_ptr<Sink> target, WellFormedSinkOptions options = {});
    ~WellFormedSink() override;

    void flush() override;
    void append(const Message& message) override;

    /// The counts since construction. An entry that another thread appends meanwhile can be in only
    /// some of them.
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

// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Extras/Export.h>
#include <Korvel/Logger.h>
#include <Korvel/Message.h>

#include <cstddef>
#include <memory>

namespace Korvel::Extras {

/// A scope that adds keys to every entry that its thread logs while it lives, through a logger made
/// by createContextExtender:
///
///     const Context request({{"requestId", id}, {"user", name}});
///
/// Scopes nest. If several have the same key, the inner scope wins, and a key of the entry itself
/// wins over all scopes. This is the reverse of an Extender, which overwrites: a context holds in
/// general, and an entry is more specific.
///
/// A scope is a local variable: it can be neither copied nor moved nor created by `new`, and an
/// exception that leaves the block ends it. It must end on the thread that began it, inner scopes
/// first, which debug builds of the library assert. So it must not be a local variable of a
/// coroutine that suspends while it lives.
///
/// Other threads start without a context. Work that runs on one for this thread takes the keys
/// along explicitly, and a thread of a pool has no context again when the task ends:
///
///     pool.run([keys = Context::capture()] { const Context context(keys); ... });
///
/// An exception ends the scopes before it is caught. To log it with its context, capture where it
/// is thrown, and keep the result in the exception.
///
/// Not promised: that a key survives. The type name replaces a key "message", and an Extender
/// between the context and the SinkHandler replaces its own key, both without a report.
///
/// Errors: the constructors throw WrongTypeException if the keys are neither a Map nor Null, and
/// `std::bad_alloc`.
///
/// Threads: every thread has a context of its own.
///
/// Ownership: owns the keys. Entries receive copies.
class KORVEL_EXTRAS_API Context {
public:
    /// Begins a scope with the keys of a Map, or with none if `keys` is Null.
    [[nodiscard]] explicit Context(Message keys);
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
    ~Context();

    static void* operator new(std::size_t) = delete;
    static void* operator new[](std::size_t) = delete;

    /// Returns a deep copy of all keys that entries of this thread receive at present, as a Map.
    /// Null if there is none. A scope made from it on a thread with scopes of its own is the
    /// innermost one there.
    static Message capture();

private:
    friend class ContextExtender;

    static void addTo(Message& payload);

    Message keys_;
    const Context* const outer_;
};

/// A scope that hides the scopes around it from entries of its thread, as for a callback into code
/// whose entries must not have the keys of this request. A Context inside it applies. The rules for
/// the life of a Context hold here too.
class KORVEL_EXTRAS_API ContextSuspension {
public:
    [[nodiscard]] ContextSuspension() noexcept;
    ContextSuspension(const ContextSuspension&) = delete;
    ContextSuspension& operator=(const ContextSuspension&) = delete;
    ~ContextSuspension();

    static void* operator new(std::size_t) = delete;
    static void* operator new[](std::size_t) = delete;

private:
    const Context* const hidden_;
};

/// Creates a Logger that adds the keys of the Context scopes of the thread that calls log, and
/// passes the message to `logger`, which must not be null. Without a scope it adds nothing and
/// takes a few nanoseconds. With one, a payload that is neither a Map nor Null is first moved to
/// the key "messageData".
///
/// The keys of Extenders win in either position: the outer ones have already set theirs, and the
/// inner ones overwrite.
KORVEL_EXTRAS_API std::shared_ptr<Logger> createContextExtender(std::shared_ptr<Logger> logger);

}  // namespace Korvel::Extras

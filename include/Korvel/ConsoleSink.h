// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Export.h>
#include <Korvel/Sink.h>

#include <iosfwd>
#include <string>
#include <vector>

namespace Korvel {

/// Writes entries to a stream for people to read, each as a block of `"key": value` lines that ends
/// with an empty line. docs/console.md shows an example.
///
/// The keys passed to the constructor come first, in that order; keys that the entry lacks are
/// skipped. All other keys follow in map order. Values are pretty JSON; keys are written unescaped.
/// The output is UTF-8, and the stream is flushed after every block.
///
/// Errors: a message that is not a Map throws WrongTypeException and writes nothing. Text that
/// cannot be converted throws `std::range_error`; the complete lines before it are written, without
/// the closing empty line. A stream in a failed state is ignored silently, unless the application
/// has enabled its exceptions.
///
/// Threads: append and flush may be called from any thread; blocks of one sink never interleave.
/// Other writers to the same stream are not coordinated with the sink.
///
/// Ownership: the application owns the stream, which must outlive the sink. The destructor neither
/// flushes nor closes it.
class KORVEL_API ConsoleSink : public Sink {
public:
    /// Writes to `std::cout`.
    ConsoleSink();
    /// `keys` may be empty, and a key listed twice is written twice.
    explicit ConsoleSink(std::ostream& stream, const std::vector<std::wstring>& keys = {
                                                   L"timestamp", L"MessageDescription"});
    ~ConsoleSink() override;

    void flush() override;
    void append(const Message& message) override;

private:
    std::vector<std::wstring> keys_;
    std::ostream& stream_;
};

}  // namespace Korvel

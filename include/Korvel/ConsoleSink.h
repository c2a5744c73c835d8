#pragma once

#include <Korvel/Export.h>
#include <Korvel/Sink.h>

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace Korvel {

/// Writes entries to a stream for people to read: a block of `"key": value` lines that ends with an
/// empty line. docs/console.md shows a block.
///
/// The keys given at construction come first, in their order, as far as the entry has them; all
/// other keys follow in map order. A value is pretty JSON; a key is written as it is, without
/// escapes. Everything is UTF-8, and the stream is flushed after every block.
///
/// Errors: a message that is not a Map throws WrongTypeException and writes nothing. Text that
/// cannot be converted throws `std::range_error`; the whole lines before it are on the stream,
/// without the closing empty line. A stream in a failed state is silent, unless the application has
/// enabled its exceptions.
///
/// Threads: append and flush from any thread; blocks of one sink never interleave. Other writers to
/// the same stream are not coordinated with it.
///
/// Ownership: the stream stays the application's and must outlive the sink, which neither flushes
/// nor closes it at its end.
class KORVEL_API ConsoleSink : public Sink {
public:
    /// Writes to `std::cout`.
    ConsoleSink();
    /// `keys` may be empty, and a key that stands twice in it is written twice.
    explicit ConsoleSink(std::ostream& stream, const std::vector<std::wstring>& keys = {
                                                   L"timestamp", L"MessageDescription"});
    ~ConsoleSink() override;

    void flush() override;
    void append(const Message& message) override;

private:
    bool isListed(std::wstring_view key) const;
    void write(std::string_view text);

    std::vector<std::wstring> keys_;
    std::ostream& stream_;
};

}  // namespace Korvel

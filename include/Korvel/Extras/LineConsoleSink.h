// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

#include <Korvel/Extras/Export.h>
#include <Korvel/Sink.h>

#include <iosfwd>
#include <string>

namespace Korvel::Extras {

/// Standard output or standard error.
enum class StandardStream { Output, Error };

/// How a LineConsoleSink shows the time of an entry.
enum class LineTime {
    Local,  ///< The time of day here and its offset: "22:16:42.123+01:00".
    Utc,    ///< The time of day in UTC: "21:16:42.123Z".
    Full    ///< As in the entry, with the date: "2026-11-18T21:16:42.123Z".
};

/// Automatic decides once, when the sink is created, by the first of these rules that applies:
/// 1. NO_COLOR is in the environment and not empty: no colours.
/// 2. CLICOLOR_FORCE is neither absent nor empty nor "0": colours.
/// 3. TERM is "dumb": no colours.
/// 4. The destination is a terminal: colours. Windows must accept colour sequences for its console.
///
/// Some terminals on Windows look like a pipe to a program. Use CLICOLOR_FORCE or Always there.
enum class Colours { Automatic, Always, Never };

/// The settings of a LineConsoleSink.
struct LineConsoleSinkOptions {
    /// Ignored if the sink writes to a stream of the application.
    StandardStream destination = StandardStream::Output;
    LineTime time = LineTime::Local;       ///< The form of the time.
    Colours colours = Colours::Automatic;  ///< Whether lines are coloured.
    /// Sends colour sequences (ESC [ numbers m) in the type and in String values unchanged, if the
    /// sink shows colours at all. Such sequences can hide text, so set this only if all text in the
    /// entries is your own.
    bool passColours = false;
};

/// Writes entries for people to read, one line each: time, severity and type, then `key=value` for
/// all other keys in map order.
///
///     22:16:42.123+01:00 warning  DiskCheck free=0.05 path=/var text="nearly full"
///
/// The time is the key "timestamp" if it has the form of createIso8601String: UTC with any number
/// of decimals up to nine. The sink adds no time to other entries: its own clock would show when an
/// entry is delivered, not when it was logged. The severity is the key "severity" if severityOf
/// recognises it, padded to a column. The type is the key "message" if it is a String. A key that
/// does not have this form is shown as `key=value`, and a message that is not a Map as a value.
///
/// Types, keys and String values are quoted if they are empty or contain a space, `=`, a quotation
/// mark, a backslash or an escape. Nested values are compact JSON in quotes. The type of a value is
/// not shown: 5 and "5" look alike.
///
/// Security: no text of an entry can control the terminal. Control characters (C0, DEL,
/// C1), line and paragraph separators, characters that change the direction of text and lone
/// surrogates are shown as `\n`, `\r`, `\t` or `\u001b`, and backslashes are doubled, so an escape
/// cannot be forged. A text that contains elements above 0x10FFFF shows `\ufffd` for them.
///
/// Limits: children below 64 levels of nesting are shown as "...". The length of a line is not
/// limited.
///
/// Output is UTF-8. Each line is one write to the operating system, made before append returns; a
/// system that takes only a part gets the rest in further writes. On Windows a console receives
/// UTF-16, in pieces of 8,192 code units, and other destinations get CR LF at the end of a line.
///
/// append blocks while the destination accepts nothing, such as a full pipe or a stopped terminal.
///
/// Not promised: text that the application still buffers in `std::cout` or `stdout` can appear
/// after a later line of the sink. A line that cannot be written is dropped without a report; part
/// of it can remain. A write to a closed pipe raises SIGPIPE, like any other write of the process.
///
/// Errors: append and flush throw nothing, for any Message. If memory runs out, the line is
/// dropped.
///
/// Threads: append and flush may be called from any thread; lines of one sink never interleave.
///
/// Ownership: the application owns the stream, which must outlive the sink.
class KORVEL_EXTRAS_API LineConsoleSink : public Sink {
public:
    /// Writes to a standard stream of the process, past the buffers of `std::cout` and `stdout`.
    explicit LineConsoleSink(const LineConsoleSinkOptions& options = {});
    /// Writes to `stream`, which is flushed after every line and never counts as a terminal.
    explicit LineConsoleSink(std::ostream& stream, const LineConsoleSinkOptions& options = {});
    ~LineConsoleSink() override;

    void flush() override;
    void append(const Message& message) override;

private:
    void write(std::string line);

    const LineConsoleSinkOptions options_;
    std::ostream* const stream_;
    const bool isColoured_;
};

}  // namespace Korvel::Extras

// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <Korvel/Extras/LineConsoleSink.h>

#include <nlohmann/json.hpp>

#include <limits>
#include <sstream>

#ifndef _WIN32
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#endif

using namespace Korvel::Extras;

static std::string lineOf(const Message& message, LineConsoleSinkOptions options = {}) {
    std::ostringstream stream;
    if (options.colours == Colours::Automatic) options.colours = Colours::Never;
    LineConsoleSink(stream, options).append(message);
    return stream.str();
}

TEST(LineConsoleSink, ShowsEveryMessageAsOneLine) {
    constexpr double INFINITE = std::numeric_limits<double>::infinity();
    const std::vector<Message> list = {1, 2.5, {}, true, "a\tb", std::vector<Message>()};
    std::string deepText = R"(\"...\")";
    for (int i = 0; i < 32; ++i) deepText.insert(0, R"([{\"k\":)").append("}]");
    const std::vector<std::pair<Message, std::string>> cases = {
        {{{"timestamp", "2026-11-18T21:16:42.123Z"},
          {"severity", "WARN"},
          {"message", "DiskCheck"},
          {"free", 0.05},
          {"path", "/var"},
          {"text", "nearly full"}},
         "21:16:42.123Z warning  DiskCheck free=0.05 path=/var text=\"nearly full\""},
        {{{"message", "x y=1"}, {"a b", ""}, {"c=d", "=="}, {"\"", "\""}},
         R"("x y=1" "\""="\"" "a b"="" "c=d"="==")"},
        {{{"message", "M"}, {"path", "C:\\temp"}, {"text", "a\n\r\t\x1b[31m\x7f"}},
         R"(M path="C:\\temp" text="a\n\r\t\u001b[31m\u007f")"},
        {{{"list", list}, {"map", {{"k\x1b", L"\x85"}}}, {"message", "M"}},
         R"(M list="[1,2.5,null,true,\"a\\tb\",[]]" map="{\"k\\u001b\":\"\\u0085\"}")"},
        {{{L"broken", L"\xD800x\xDC00"},
          {L"message", L"\xD83D"},
          {L"smile", L"\xD83D\xDE00\x20AC"}},
         "\"\\ud83d\" broken=\"\\ud800x\\udc00\" smile=\xF0\x9F\x98\x80\xE2\x82\xAC"},
        {{{"a", {}}, {"b", false}, {"inf", -INFINITE}, {"message", 5}, {"severity", "loud"}},
         "a=null b=false inf=-inf message=5 severity=loud"},
        {{{"message", "M"}, {"timestamp", "yesterday"}}, "M timestamp=yesterday"},
        {deepTree(50000, 1), "k=\"" + deepText + "\""},
        {{}, "null"},
        {"text only", "\"text only\""},
    };
    LineConsoleSinkOptions utc;
    utc.time = LineTime::Utc;
    for (const auto& [message, line] : cases) EXPECT_EQ(lineOf(message, utc), line + "\n");
#if WCHAR_MAX > 0xFFFF
    EXPECT_EQ(lineOf(std::wstring(1, static_cast<wchar_t>(0x110000))), "\"\\ufffd\"\n");
#endif
}

TEST(LineConsoleSink, TakesOnlyRealTimesAsTimeOfTheLine) {
    LineConsoleSinkOptions full;
    full.time = LineTime::Full;
    const auto shown = [&full](const char* time) {
        return lineOf({{"message", "M"}, {"timestamp", time}}, full);
    };
    for (const char* const time : {"2024-02-29T23:59:59Z", "9999-12-31T00:00:00.123456789Z"}) {
        EXPECT_EQ(shown(time), std::string(time) + " M\n");
    }
    for (const char* const time :
         {"2023-02-29T00:00:00Z", "2026-13-01T00:00:00Z", "2026-01-01T24:00:00Z",
          "2026-01-01T00:60:00Z", "2026-01-01T00:00:60Z", "2026-01-01T00:00:00.Z",
          "2026-01-01T00:00:00.1234567890Z", "2026-01-01T00:00:00.1x3Z", "2026-01-01 00:00:00Z"}) {
        EXPECT_EQ(shown(time).find("M timestamp="), 0U) << time;
    }
}

static bool isControl(wchar_t c) {
    const std::wstring others =
        L"\x061C\x200E\x200F\x2028\x2029\x202A\x202B\x202C\x202D\x202E\x2066\x2067\x2068\x2069";
    return c < 0x20 || (c >= 0x7F && c <= 0x9F) || others.find(c) != std::wstring::npos;
}

/// Every code unit as type, key and value. What the line shows is read back by a parser.
TEST(LineConsoleSink, NoTextArrivesAsAControl) {
    std::wstring text;
    for (unsigned unit = 0; unit < 0x10000; unit += unit == 0xD7FF ? 0x801 : 1) {
        text += static_cast<wchar_t>(unit);
    }
    std::string line = lineOf({{L"message", text}, {text, text}});
    ASSERT_EQ(line.back(), '\n');
    line.pop_back();
    for (const wchar_t c : Message::strToWstr(line)) ASSERT_FALSE(isControl(c)) << std::uint32_t(c);
    std::istringstream stream(line);
    for (int i = 0; i < 3; ++i, stream.ignore()) {
        nlohmann::json part;
        stream >> part;
        EXPECT_TRUE(part == Message::wstrToStr(text)) << i;
    }
}

TEST(LineConsoleSink, ColoursSeverityAndKeysAndPassesSequencesIfAsked) {
    const Message entry = {
        {"a", "\x1b[1;32mgreen\x1b[2J"}, {"message", "M"}, {"severity", "error"}};
    LineConsoleSinkOptions options;
    options.colours = Colours::Always;
    EXPECT_EQ(lineOf(entry, options),
              "\x1b[31merror\x1b[0m    M \x1b[36ma\x1b[0m=\"\\u001b[1;32mgreen\\u001b[2J\"\n");
    options.passColours = true;
    EXPECT_EQ(lineOf(entry, options),
              "\x1b[31merror\x1b[0m    M \x1b[36ma\x1b[0m=\"\x1b[1;32mgreen\\u001b[2J\x1b[0m\"\n");
    options.colours = Colours::Never;
    EXPECT_EQ(lineOf(entry, options), "error    M a=\"\\u001b[1;32mgreen\\u001b[2J\"\n");
}

TEST(LineConsoleSink, AFailingStreamDoesNotThrow) {
    std::ostringstream stream;
    stream.exceptions(std::ios::badbit);
    LineConsoleSink sink(stream);
    EXPECT_THROW(stream.setstate(std::ios::badbit), std::ios::failure);
    EXPECT_NO_THROW(sink.append("lost"));
    stream.clear();
    sink.append("back");
    EXPECT_EQ(stream.str(), "back\n");
}

#ifndef _WIN32

/// Lets a standard stream of the process be another descriptor while it lives.
struct Redirection {
    Redirection(int from, int to) : stream(from), before(dup(from)) { dup2(to, from); }
    ~Redirection() {
        dup2(before, stream);
        close(before);
    }

    const int stream;
    const int before;
};

/// What one end is written to, the other receives.
struct Channel {
    Channel() = default;
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;
    ~Channel() {
        close(ends[0]);
        close(ends[1]);
    }

    /// What arrives next; empty if nothing does for a while, because the sink has dropped it.
    std::string read() const {
        pollfd arrival = {ends[0], POLLIN, 0};
        if (poll(&arrival, 1, 20000) != 1) return "";
        std::string text(65536, '\0');
        const ssize_t size = ::read(ends[0], text.data(), text.size());
        text.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
        return text;
    }

    int ends[2] = {-1, -1};  // To read and to write.
};

struct PseudoTerminal : Channel {
    PseudoTerminal() {
        ends[0] = posix_openpt(O_RDWR | O_NOCTTY);
        EXPECT_EQ(grantpt(ends[0]), 0);
        EXPECT_EQ(unlockpt(ends[0]), 0);
        ends[1] = open(ptsname(ends[0]), O_RDWR | O_NOCTTY);
        EXPECT_GE(ends[1], 0);
    }
};

struct Sockets : Channel {
    explicit Sockets(int type) { EXPECT_EQ(socketpair(AF_UNIX, type, 0, ends), 0); }
};

/// What is received first from an entry, with this environment.
static std::string shownBy(const Channel& channel,
                           const std::vector<std::pair<const char*, const char*>>& variables) {
    for (const char* const name : {"NO_COLOR", "CLICOLOR_FORCE", "TERM"}) unsetenv(name);
    for (const auto& [name, value] : variables) setenv(name, value, 1);
    const Redirection redirection(STDERR_FILENO, channel.ends[1]);
    LineConsoleSinkOptions options;
    options.destination = StandardStream::Error;
    LineConsoleSink(options).append(
        {{L"message", L"M"}, {L"severity", L"info"}, {L"\x1b", L"\x9b"}});
    return channel.read();
}

TEST(LineConsoleSink, ColoursOnlyATerminalUnlessTheEnvironmentDecides) {
    const std::string plain = "info     M \"\\u001b\"=\"\\u009b\"";
    const std::string coloured = "\x1b[32minfo\x1b[0m     M \x1b[36m\"\\u001b\"\x1b[0m=\"\\u009b\"";
    const PseudoTerminal terminal;
    const Sockets sockets(SOCK_DGRAM);  // These show that the line is one write.
    using Variables = std::vector<std::pair<const char*, const char*>>;
    const std::vector<std::tuple<Variables, std::string, std::string>> cases = {
        {{}, coloured, plain},
        {{{"TERM", "xterm"}}, coloured, plain},
        {{{"NO_COLOR", "0"}}, plain, plain},
        {{{"NO_COLOR", "1"}, {"CLICOLOR_FORCE", "1"}}, plain, plain},
        {{{"CLICOLOR_FORCE", "1"}, {"TERM", "dumb"}}, coloured, coloured},
        {{{"CLICOLOR_FORCE", "0"}, {"TERM", "dumb"}}, plain, plain},
    };
    for (const auto& [variables, onTerminal, onSocket] : cases) {
        EXPECT_EQ(shownBy(terminal, variables), onTerminal + "\r\n");
        EXPECT_EQ(shownBy(sockets, variables), onSocket + "\n");
    }
}

/// The system takes the long line in many parts, between which another thread could write.
TEST(LineConsoleSink, LinesOfTwoThreadsArriveWholeThroughANonBlockingSocket) {
    const Sockets sockets(SOCK_STREAM);
    ASSERT_EQ(fcntl(sockets.ends[1], F_SETFL, O_NONBLOCK), 0);
    const std::string line(1000000, 'x');
    const std::string expected = line + "\nshort\n";
    std::string received;
    {
        const Redirection redirection(STDOUT_FILENO, sockets.ends[1]);
        LineConsoleSink sink;
        const JoiningThread first([&] { sink.append(line); });
        std::string part = sockets.read();  // From here on the first thread waits for room.
        Gate started;
        const JoiningThread second([&] {
            started.open();
            sink.append("short");
        });
        started.wait();
        for (; !part.empty(); part = received.size() < expected.size() ? sockets.read() : "") {
            received += part;
        }
    }
    EXPECT_TRUE(received == expected);
}

TEST(LineConsoleSink, LocalTimeShowsItsOffset) {
    const Message entry = {{"message", "M"}, {"timestamp", "2026-11-18T21:16:42.123Z"}};
    const std::vector<std::pair<const char*, std::string>> cases = {
        {"UTC0", "21:16:42.123+00:00 M\n"},
        {"IST-5:30", "02:46:42.123+05:30 M\n"},
        {"NST3:30", "17:46:42.123-03:30 M\n"},
        {"XXX-1YYY-2,J1/0,J365/23", "23:16:42.123+02:00 M\n"},
    };
    for (const auto& [zone, line] : cases) {
        setenv("TZ", zone, 1);
        tzset();
        EXPECT_EQ(lineOf(entry), line) << zone;
    }
    unsetenv("TZ");
    tzset();
}

#endif

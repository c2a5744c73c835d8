// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "micro/Subjects.h"
#include "support/Shapes.h"

#include <benchmark/benchmark.h>
#include <iconv.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace Bench {
namespace {

/// Calls iconv with a converter opened once and a sufficiently large buffer.
class Converter {
public:
    Converter(const char* target, const char* source)
        : handle_(iconv_open(target, source)), buffer_(4 * TEXT_BYTES) {}
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    ~Converter() { iconv_close(handle_); }

    /// Valid until the next call.
    std::string_view convert(std::string& text) {
        char* input = text.data();
        std::size_t inputLeft = text.size();
        char* output = buffer_.data();
        std::size_t outputLeft = buffer_.size();
        if (iconv(handle_, &input, &inputLeft, &output, &outputLeft) != 0 || inputLeft != 0) {
            throw std::runtime_error("iconv refuses the text.");
        }
        return {buffer_.data(), buffer_.size() - outputLeft};
    }

private:
    iconv_t handle_;
    std::vector<char> buffer_;
};

void widen(benchmark::State& state, const std::string& text) {
    while (state.KeepRunning()) {
        const std::wstring wide = Korvel::Message::strToWstr(text);
        benchmark::DoNotOptimize(wide.data());
    }
}

void narrow(benchmark::State& state, const std::string& text) {
    const std::wstring wide = Korvel::Message::strToWstr(text);
    while (state.KeepRunning()) {
        const std::string back = Korvel::Message::wstrToStr(wide);
        benchmark::DoNotOptimize(back.data());
    }
}

void copy(benchmark::State& state, const std::string& text) {
    while (state.KeepRunning()) {
        std::string same = text;
        benchmark::DoNotOptimize(same.data());
    }
}

void iconvWiden(benchmark::State& state, std::string text) {
    Converter converter("UTF-16LE", "UTF-8");
    while (state.KeepRunning()) benchmark::DoNotOptimize(converter.convert(text).data());
}

void iconvNarrow(benchmark::State& state, std::string text) {
    Converter widener("UTF-16LE", "UTF-8");
    std::string wide(widener.convert(text));
    Converter converter("UTF-8", "UTF-16LE");
    while (state.KeepRunning()) benchmark::DoNotOptimize(converter.convert(wide).data());
}

template <class Work>
void add(const std::string& conversion, const std::string& subject, const Work& work) {
    const auto addText = [&](const std::string& name, const std::string& text) {
        benchmark::RegisterBenchmark((conversion + '/' + name + '/' + subject).c_str(),
                                     [=](benchmark::State& state) { work(state, text); });
    };
    addText("ascii", asciiText());
    addText("mixed", mixedText());
}

}  // namespace

void addKorvelConversions() {
    add("strToWstr", "korvel", widen);
    add("wstrToStr", "korvel", narrow);
}

void addIconvConversions() {
    add("strToWstr", "iconv", iconvWiden);
    add("wstrToStr", "iconv", iconvNarrow);
    add("strToWstr", "copy", copy);
    add("wstrToStr", "copy", copy);
}

}  // namespace Bench

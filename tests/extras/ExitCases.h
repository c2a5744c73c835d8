#pragma once

#include "support/Test.h"

#include <csignal>
#include <cstdlib>

#ifdef _WIN32
#include <process.h>
#else
#include <sys/wait.h>
#endif

/// Runs exit_program and returns its exit code, or minus the signal that ended it.
inline int runProgram(const std::string& piece, const std::string& name,
                      const std::filesystem::path& file,
                      [[maybe_unused]] const std::string& launcher = "") {
#ifdef _WIN32
    const std::string quoted = '"' + name + '"';
    return static_cast<int>(_spawnl(_P_WAIT, EXIT_PROGRAM, EXIT_PROGRAM, piece.c_str(),
                                    quoted.c_str(), file.string().c_str(), nullptr));
#else
    const std::string command = "exec " + launcher + " " EXIT_EMULATOR " \"" EXIT_PROGRAM "\" " +
                                piece + " '" + name + "' '" + file.string() + "' 2>/dev/null";
    const int status = std::system(command.c_str());
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
#endif
}

/// The lines of 20,000 entries and what follows them.
inline std::string lines(const std::string& others = "") {
    std::string text;
    for (int i = 0; i < 20'000; ++i) {
        text += "{\"message\":\"Entry\",\"messageData\":" + std::to_string(i) + "}\n";
    }
    return text + others;
}

struct ExitCase {
    std::string name;
    int end;
    std::string file;
};

inline void expectEnds(const std::string& piece, const std::vector<ExitCase>& cases) {
    for (const auto& [name, end, file] : cases) {
        const TemporaryDirectory directory;
        EXPECT_EQ(runProgram(piece, name, directory.path / "log"), end) << name;
        // Not EXPECT_EQ, which would print megabytes.
        EXPECT_TRUE(readFile(directory.path / "log") == file) << name;
    }
}

#ifdef _WIN32
constexpr int ABORTED = 3;
#else
constexpr int ABORTED = -SIGABRT;
#endif

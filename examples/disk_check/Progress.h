#pragma once

#include <cstddef>
#include <functional>
#include <mutex>
#include <string>

namespace DiskCheck {

/// A progress line on standard error that is overwritten in place and finally cleared.
///
/// Threads: every operation may be called from any thread.
class Progress {
public:
    /// Writes nothing unless it is visible.
    explicit Progress(bool isVisible);
    /// Clears the line.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// `text` must be ASCII and shorter than the terminal width.
    void show(const std::string& text);

    /// Calls `write` while the line is cleared and none is shown.
    void stepAside(const std::function<void()>& write);

private:
    void clear();

    const bool isVisible_;
    std::mutex mutex_;
    std::size_t width_ = 0;
};

}  // namespace DiskCheck

/// Uploads the staging files left by a program with a LogglySink. Copy LogglyUploader.cpp into your
/// own program; Drain.cpp shows how to use it.

#include "Arguments.h"
#include "Drain.h"

#include <exception>
#include <iostream>
#include <optional>
#include <stdexcept>

namespace LogglyUpload {
namespace {

constexpr int STATUS_DONE = 0;
constexpr int STATUS_NOT_DELIVERED = 1;
constexpr int STATUS_WRONG_ARGUMENTS = 2;

int runProgram(int argc, const char* const* argv) {
    try {
        const std::optional<Arguments> arguments = parseArguments(argc, argv);
        return !arguments || drain(*arguments) ? STATUS_DONE : STATUS_NOT_DELIVERED;
    } catch (const std::invalid_argument& error) {
        std::cerr << "loggly_upload: " << error.what() << "\nSee loggly_upload --help.\n";
        return STATUS_WRONG_ARGUMENTS;
    } catch (const std::exception& error) {
        std::cerr << "loggly_upload: " << error.what() << '\n';
        return STATUS_NOT_DELIVERED;
    }
}

}  // namespace
}  // namespace LogglyUpload

int main(int argc, char** argv) {
    return LogglyUpload::runProgram(argc, argv);
}

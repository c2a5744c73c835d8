/// Uploads the staging files that a program with a LogglySink has left. LogglyUploader.cpp is the
/// part to copy into a program of your own, Drain.cpp shows it at work.

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

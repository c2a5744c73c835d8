/// Uploads the staging files left by a program with a LogglySink. Copy LogglyUploader.cpp into your
/// own program; Drain.cpp shows how to use it.

#include "Arguments.h"
#include "Drain.h"

#include <exception>
#include <iostream>
#include <stdexcept>

namespace LogglyUpload {
namespace {

constexpr int STATUS_DONE = 0;
constexpr int STATUS_NOT_DELIVERED = 1;
constexpr int STATUS_WRONG_ARGUMENTS = 2;

int runProgram(const std::vector<std::string>& words) {
    try {
        const Arguments arguments = parseArguments(words);
        if (!arguments.wantsHelp) {
            return drain(arguments) ? STATUS_DONE : STATUS_NOT_DELIVERED;
        }
        std::cout << USAGE_LINE << HELP_TEXT;
        return STATUS_DONE;
    } catch (const std::invalid_argument& error) {
        std::cerr << "loggly_upload: " << error.what() << '\n' << USAGE_LINE;
        return STATUS_WRONG_ARGUMENTS;
    } catch (const std::exception& error) {
        std::cerr << "loggly_upload: " << error.what() << '\n';
        return STATUS_NOT_DELIVERED;
    }
}

}  // namespace
}  // namespace LogglyUpload

int main(int argc, char** argv) {
    return LogglyUpload::runProgram(std::vector<std::string>(argv + 1, argv + argc));
}

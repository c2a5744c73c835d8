/// Uploads the staging files that a program with a LogglySink has left. LogglyUploader.cpp is the
/// part to copy into a program of your own, Drain.cpp shows it at work.

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

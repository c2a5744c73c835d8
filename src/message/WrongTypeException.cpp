#include <Korvel/WrongTypeException.h>

namespace Korvel {

WrongTypeException::~WrongTypeException() = default;

const char* WrongTypeException::what() const noexcept {
    return "You tried to access the wrong type.";
}

}  // namespace Korvel

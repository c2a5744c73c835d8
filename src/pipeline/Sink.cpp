#include <Korvel/Sink.h>

namespace Korvel {

Sink::~Sink() = default;

}  // namespace Korvel

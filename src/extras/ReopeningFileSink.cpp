#include <Korvel/Extras/ReopeningFileSink.h>

namespace Korvel::Extras {}  // namespace Korvel::Extras

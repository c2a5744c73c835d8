#include <Korvel/Extras/Monitor.h>

namespace Korvel::Extras {}  // namespace Korvel::Extras

#include <Korvel/Extras/BoundedLogger.h>

namespace Korvel::Extras {}  // namespace Korvel::Extras

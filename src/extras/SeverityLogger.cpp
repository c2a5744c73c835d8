#include <Korvel/Extras/SeverityLogger.h>

namespace Korvel::Extras {}  // namespace Korvel::Extras

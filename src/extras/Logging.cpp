#include <Korvel/Extras/Logging.h>

namespace Korvel::Extras {}  // namespace Korvel::Extras

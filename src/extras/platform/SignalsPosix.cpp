#include "extras/platform/Signals.h"

namespace Korvel::Extras {}  // namespace Korvel::Extras

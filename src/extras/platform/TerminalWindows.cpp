#include "extras/platform/Terminal.h"

namespace Korvel::Extras {}  // namespace Korvel::Extras

#include "extras/platform/File.h"

namespace Korvel::Extras {}  // namespace Korvel::Extras

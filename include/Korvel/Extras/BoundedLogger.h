#pragma once

#include <Korvel/Extras/Export.h>

namespace Korvel::Extras {}  // namespace Korvel::Extras

#include <Korvel/Extras/Context.h>

namespace Korvel::Extras {}  // namespace Korvel::Extras

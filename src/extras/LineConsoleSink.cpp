#include <Korvel/Extras/LineConsoleSink.h>

namespace Korvel::Extras {}  // namespace Korvel::Extras

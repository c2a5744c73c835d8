#include <Korvel/Extras/MemorySink.h>

namespace Korvel::Extras {}  // namespace Korvel::Extras

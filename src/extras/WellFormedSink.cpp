#include <Korvel/Extras/WellFormedSink.h>

namespace Korvel::Extras {}  // namespace Korvel::Extras

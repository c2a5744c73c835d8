#include <Korvel/Extras/GuardedSink.h>

namespace Korvel::Extras {}  // namespace Korvel::Extras

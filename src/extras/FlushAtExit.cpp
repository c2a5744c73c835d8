#include <Korvel/Extras/FlushAtExit.h>

namespace Korvel::Extras {}  // namespace Korvel::Extras

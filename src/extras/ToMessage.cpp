#include <Korvel/Extras/ToMessage.h>

namespace Korvel::Extras {}  // namespace Korvel::Extras

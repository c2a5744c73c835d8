#include <Korvel/Extras/SamplingFilter.h>

namespace Korvel::Extras {}  // namespace Korvel::Extras

#include "support/Test.h"

#include <Korvel/Extras/SamplingFilter.h>

using namespace Korvel::Extras;

#include "support/Test.h"

#include <Korvel/Extras/BoundedLogger.h>

using namespace Korvel::Extras;

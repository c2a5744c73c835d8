#include "support/Test.h"

#include <Korvel/Extras/SeverityLogger.h>

using namespace Korvel::Extras;

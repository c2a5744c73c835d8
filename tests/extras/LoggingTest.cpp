#include "support/Test.h"

#include <Korvel/Extras/Logging.h>

using namespace Korvel::Extras;

#include "support/Test.h"

#include <Korvel/Extras/FlushAtExit.h>

using namespace Korvel::Extras;

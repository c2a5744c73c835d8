#include "support/Test.h"

#include <Korvel/Extras/Monitor.h>

using namespace Korvel::Extras;

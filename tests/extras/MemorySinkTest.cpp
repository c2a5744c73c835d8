#include "support/Test.h"

#include <Korvel/Extras/MemorySink.h>

using namespace Korvel::Extras;

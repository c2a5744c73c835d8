#include "support/Test.h"

#include <Korvel/Extras/WellFormedSink.h>

using namespace Korvel::Extras;

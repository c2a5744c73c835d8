#include "support/Test.h"

#include <Korvel/Extras/ReopeningFileSink.h>

using namespace Korvel::Extras;

#include "support/Test.h"

#include <Korvel/Extras/GuardedSink.h>

using namespace Korvel::Extras;

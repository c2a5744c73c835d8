#include "support/Test.h"

#include <Korvel/Extras/LineConsoleSink.h>

using namespace Korvel::Extras;

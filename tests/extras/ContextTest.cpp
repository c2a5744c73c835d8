#include "support/Test.h"

#include <Korvel/Extras/Context.h>

using namespace Korvel::Extras;

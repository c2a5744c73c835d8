#include "support/Test.h"

#include <Korvel/Extras/ToMessage.h>

using namespace Korvel::Extras;

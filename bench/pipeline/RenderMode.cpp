#include "pipeline/Modes.h"
namespace Bench {
void workRendering(const Arguments&) {}
}

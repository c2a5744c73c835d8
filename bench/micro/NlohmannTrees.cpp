#include "micro/Subjects.h"
#include "micro/TreeBenchmarks.h"
#include "support/NlohmannShapes.h"

namespace Bench {

void addNlohmannTrees() {
    addTrees("nlohmann", &nlohmannList, &nlohmannKeys, nlohmannEntry());
}

}  // namespace Bench

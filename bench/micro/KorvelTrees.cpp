#include "micro/Subjects.h"
#include "micro/TreeBenchmarks.h"
#include "support/KorvelRequest.h"
#include "support/Shapes.h"

namespace Bench {

void addKorvelTrees() {
    addTrees("korvel", &korvelList, &korvelKeys, korvelEntry());
}

}  // namespace Bench

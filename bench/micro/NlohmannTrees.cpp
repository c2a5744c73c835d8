// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "micro/Subjects.h"
#include "micro/TreeBenchmarks.h"
#include "support/NlohmannShapes.h"

namespace Bench {

void addNlohmannTrees() {
    addTrees("nlohmann", &nlohmannList, &nlohmannKeys, nlohmannEntry());
}

}  // namespace Bench

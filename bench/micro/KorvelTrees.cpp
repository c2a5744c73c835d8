// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "micro/Subjects.h"
#include "micro/TreeBenchmarks.h"
#include "support/KorvelRequest.h"
#include "support/Shapes.h"

namespace Bench {

void addKorvelTrees() {
    addTrees("korvel", &korvelList, &korvelKeys, korvelEntry());
}

}  // namespace Bench

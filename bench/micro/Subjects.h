// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT
#pragma once

namespace Bench {

/// Each function adds the benchmarks of one library, with names like "render/entry/korvel".

void addKorvelRendering();
void addNlohmannRendering();
void addRapidJsonRendering();
void addRapidJsonSse2Rendering();

void addKorvelConversions();
void addIconvConversions();

void addKorvelTrees();
void addNlohmannTrees();

void addKorvelMaps();
void addKorvelSinks();

void addExtrasCosts();
void addSpdlogCosts();

void addGrowth();

}  // namespace Bench

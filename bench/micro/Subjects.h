#pragma once

namespace Bench {

/// Each adds the benchmarks of one library, under names like "render/entry/korvel".

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

void addGrowth();

}  // namespace Bench

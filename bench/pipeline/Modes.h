#pragma once

#include "pipeline/Arguments.h"

namespace Bench {

/// Logs and tells the caller's times, the time until the last entry is in the file, and the
/// processor time.
void runPipeline(const Arguments& arguments);

/// Does the same work and measures nothing: for a tool that counts instructions. The file stays,
/// for the caller to count its lines.
void workPipeline(const Arguments& arguments);

/// Logs one entry and prints the line that is in the file.
void showLine(const Arguments& arguments);

/// The heap of a queued entry.
void measureHeap(const Arguments& arguments);

/// The time of a flush of the library's handler when it has nothing to do.
void measureFlush(const Arguments& arguments);

/// The time of appends to a LogglySink that goes through many files.
void measureRotation(const Arguments& arguments);

/// Renders the entry again and again: for a tool that counts instructions.
void workRendering(const Arguments& arguments);

}  // namespace Bench
